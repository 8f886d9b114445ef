// Random texts near the query language: expressions, expressions with something wrong, words, noise.

/** Numbers from 0 to 1, the same for the same seed. */
export function randomFrom(seed: number): () => number {
  let state = seed >>> 0;
  return () => {
    state = (state + 0x6d2b79f5) >>> 0;
    let mixed = Math.imul(state ^ (state >>> 15), state | 1);
    mixed ^= mixed + Math.imul(mixed ^ (mixed >>> 7), mixed | 61);
    return ((mixed ^ (mixed >>> 14)) >>> 0) / 2 ** 32;
  };
}

const names = ['ServiceId', 'Start', 'End', 'Title', 'servicEid', '_x9', 'In', 'inx'];
const signs = ['==', '<', '<=', '>', '>='];
const numbers = ['0', '7', '1043', '1318748400', '-8', '-0', '-89', '007', '9223372036854775807', '9223372036854775808',
  '18446744073709551616', '-18446744073709551615', '99999999999999999999999999999'];
const strangers = ['-9', '-', '- 1', '=', '&', '|', '!', '!=', '.', '\t', '\n', '\r', '\0', '"', '"a"', '"a\\"b"', '"\\\\"', '"é😀"',
  '\\', 'é', '😀', '\ufeff', '\u00a0', "'", ';', '%', '()', '(', ')', ',', ',,', 'in', 'in (', '&&', '||', '(1, 2)', '~'];
const noise = [...' \t\n\r\0()<>=&|!,-"\\._09aAzZinéß\u2028\u{1f600}\u{10ffff}'];

export class QuorilTexts {
  constructor(private readonly random: () => number) {}

  next(): string {
    const kind = this.below(100);
    if (kind < 40) return this.spaced(this.any(3));
    if (kind < 75) return this.spoiled(this.spaced(this.any(2)));
    if (kind < 85) return this.some(9, () => this.one([...names, ...signs, ...numbers, ...strangers])).join(this.one(['', ' ']));
    if (kind < 88) return this.nested();
    return this.some(24, () => this.one(noise)).join('');
  }

  private below(limit: number): number {
    return Math.floor(this.random() * limit);
  }

  private one<Item>(items: readonly Item[]): Item {
    return items[this.below(items.length)]!;
  }

  private some<Item>(most: number, make: () => Item): Item[] {
    return Array.from({ length: this.below(most + 1) }, make);
  }

  private any(depth: number): string[] {
    if (depth === 0 || this.below(3) === 0) return this.comparison();
    const left = this.any(depth - 1);
    const right = this.any(depth - 1);
    const joined = [...left, this.one(['&&', '||']), ...right];
    return this.below(3) === 0 ? ['(', ...joined, ')'] : joined;
  }

  private comparison(): string[] {
    if (this.below(4) === 0) {
      const list = Array.from({ length: 1 + this.below(this.below(3) === 0 ? 20 : 4) }, () => [',', this.one(numbers)]);
      return [this.element(), 'in', '(', ...list.flat().slice(1), ')'];
    }
    return [this.element(), this.one(signs), this.element()];
  }

  private element(): string {
    return this.below(2) === 0 ? this.one(names) : this.one(numbers);
  }

  /** No blank between words runs some of them together, as it should. */
  private spaced(words: string[]): string {
    const blank = this.one(['', ' ', ' ', ' ', '  ']);
    return this.one(['', blank]) + words.join(blank) + this.one(['', blank]);
  }

  private spoiled(text: string): string {
    for (let count = 1 + this.below(3); count > 0; --count) {
      const letters = [...text];
      letters.splice(this.below(letters.length + 1), this.one([0, 0, 1, 3]), this.one(['', ...strangers, ...names, ...numbers]));
      text = letters.join('');
    }
    return text;
  }

  /** About as many parentheses as may be open. */
  private nested(): string {
    const depth = 254 + this.below(5);
    const inside = this.one(['1 == 1', 'End in (1)', '1 in', '']);
    const text = '('.repeat(depth) + inside + ')'.repeat(depth - this.below(2));
    return this.below(2) === 0 ? text : `${text} && ${text}`;
  }
}
