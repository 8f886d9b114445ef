// Values made from a schema: mostly as it asks for, often at its borders, sometimes beside it.

const wrong = [null, true, -1, 1.5, 4294967296, 1e300, '1', '', [], [[]], {}, { a: 1 }];
const letters = ['a', 'B', '0', ' ', '"', '\\', '/', '\n', '\u0001', '\u007f', 'é', '’', '漢', '😀', '=', '&', '('];

export class Values {
  #description;
  #state;

  /** The same seed makes the same values. */
  constructor(description, seed) {
    this.#description = description;
    this.#state = seed;
  }

  /** Returns a number from 0 up to, but not including, 1 (mulberry32). */
  next() {
    this.#state = (this.#state + 0x6d2b79f5) | 0;
    let mixed = Math.imul(this.#state ^ (this.#state >>> 15), this.#state | 1);
    mixed = (mixed + Math.imul(mixed ^ (mixed >>> 7), mixed | 61)) ^ mixed;
    return ((mixed ^ (mixed >>> 14)) >>> 0) / 4294967296;
  }

  chance(probability) {
    return this.next() < probability;
  }

  /** A whole number from 0 up to, but not including, the limit. */
  below(limit) {
    return Math.floor(this.next() * limit);
  }

  pick(list) {
    return list[this.below(list.length)];
  }

  /** Makes a value for a schema. */
  of(schemaOrReference) {
    const schema = this.#description.resolve(schemaOrReference);
    if (this.chance(0.03)) return this.pick(wrong);
    if (schema.const !== undefined) return schema.const;
    if (schema.oneOf && (schema.type === undefined || this.chance(0.9))) return this.of(this.pick(schema.oneOf));
    if (schema.enum && this.chance(0.9)) return this.pick(schema.enum);
    if (schema.examples && this.chance(0.5)) return this.pick(schema.examples);
    switch (schema.type) {
      case 'boolean':
        return this.chance(0.5);
      case 'integer':
        return this.#integer(schema);
      case 'number':
        return this.#number(schema);
      case 'string':
        return this.#text();
      case 'array':
        return this.#list(schema);
      case 'object':
        return this.#object(schema);
    }
    throw new Error(`no values are made for ${JSON.stringify(schema)}`);
  }

  #integer({ minimum, maximum }) {
    if (this.chance(0.05)) return this.pick([minimum - 1, maximum + 1]);
    if (this.chance(0.2)) return this.pick([minimum, minimum + 1, maximum - 1, maximum]);
    const small = this.below(2000);
    if (this.chance(0.5) && small >= minimum && small <= maximum) return small;
    return minimum + this.below(maximum - minimum + 1);
  }

  #number({ minimum, maximum }) {
    if (this.chance(0.05)) return this.pick([minimum - 0.5, maximum + 0.5]);
    if (this.chance(0.2)) return this.pick([minimum, maximum]);
    return minimum + this.next() * (maximum - minimum);
  }

  #text() {
    const length = this.chance(0.05) ? 0 : 1 + this.below(this.chance(0.05) ? 300 : 8);
    return Array.from({ length }, () => this.pick(letters)).join('');
  }

  #list({ items, minItems = 0, maxItems = 20, 'x-ascending': isAscending = false }) {
    const length = this.chance(0.1) ? maxItems + this.below(2) : Math.min(maxItems, minItems + this.below(4));
    const list = Array.from({ length }, () => this.of(items));
    return isAscending && this.chance(0.8) ? list.sort((one, other) => one - other) : list;
  }

  #object({ properties = {}, required = [] }) {
    const object = {};
    for (const [name, schema] of Object.entries(properties))
      if (this.chance(required.includes(name) ? 0.97 : 0.6)) object[name] = this.of(schema);
    if (this.chance(0.03)) object[this.#text()] = this.pick(wrong);
    return object;
  }
}
