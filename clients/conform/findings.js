// What has been looked at, and what was wrong.

export const checks = ['answers', 'schema', 'errors', 'notifications'];

/** How many different faults of one kind are told of a method. */
const mostTold = 3;

/**
 * @typedef {object} Finding
 * @property {string} method
 * @property {string} check     one of `checks`
 * @property {number} times     how often
 * @property {*} sent           params, or the text of a message; the first time
 * @property {*} came           what was answered or notified then
 * @property {string} expected
 */

export class Findings {
  #rows = new Map();
  #findings = new Map();

  /** @param {string[]} names  of the methods and notifications, in the order of the table */
  constructor(names) {
    for (const name of names) this.#row(name);
  }

  #row(name) {
    if (!this.#rows.has(name))
      this.#rows.set(name, Object.fromEntries(checks.map((check) => [check, '-'])));
    return this.#rows.get(name);
  }

  /** Something of a method has been looked at. */
  look(name, check) {
    const row = this.#row(name);
    if (row[check] === '-') row[check] = 'ok';
  }

  /** Something was wrong. */
  add(name, { check, expected }, sent, came) {
    this.#row(name)[check] = 'fails';
    // The same fault in another element of an array is the same fault.
    const key = JSON.stringify([name, check, expected.replace(/\/\d+/g, '/')]);
    const known = this.#findings.get(key);
    if (known) ++known.times;
    else this.#findings.set(key, { method: name, check, times: 1, sent, came, expected });
  }

  get conforms() {
    return this.#findings.size === 0;
  }

  /** A row for each method: its name, and ok, fails or - for each check. */
  get methods() {
    return [...this.#rows].map(([name, row]) => ({ name, ...row }));
  }

  /** @returns {Finding[]}  the first few of each method and check */
  get faults() {
    const told = new Map();
    return [...this.#findings.values()].filter(({ method, check }) => {
      const key = `${method} ${check}`;
      told.set(key, (told.get(key) ?? 0) + 1);
      return told.get(key) <= mostTold;
    });
  }
}
