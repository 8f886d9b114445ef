/** What passed in half a second. */
export interface Bucket {
  messages: number;
  errors: number;
  /** Of the slowest reply, in microseconds; 0 where there was none. */
  slowest: number;
}

/** Half seconds. */
const span = 0.5;
export const buckets = 120;

const placeOf = (number: number): number => ((number % buckets) + buckets) % buckets;

/** How much passed in each half second of the last minute. */
export class Minute {
  readonly #ring: Bucket[] = Array.from({ length: buckets }, () => ({ messages: 0, errors: 0, slowest: 0 }));
  #latest = -Infinity; // the number of the newest half second

  /** @param time  seconds, as messages have them */
  add(time: number, micros = 0, isError = false): void {
    this.#moveTo(time);
    const number = Math.floor(time / span);
    if (number <= this.#latest - buckets) return;
    const bucket = this.#ring[placeOf(number)]!;
    ++bucket.messages;
    if (isError) ++bucket.errors;
    bucket.slowest = Math.max(bucket.slowest, micros);
  }

  /** Oldest first; the last is the half second that a time is in. */
  upTo(now: number): readonly Bucket[] {
    this.#moveTo(now);
    return Array.from({ length: buckets }, (_, i) => this.#ring[placeOf(this.#latest + 1 + i)]!);
  }

  #moveTo(time: number): void {
    const number = Math.floor(time / span);
    if (number <= this.#latest) return;
    const passed = Math.min(number - this.#latest, buckets);
    for (let i = 0; i < passed; ++i) Object.assign(this.#ring[placeOf(number - i)]!, { messages: 0, errors: 0, slowest: 0 });
    this.#latest = number;
  }
}

/** What the last minute comes to. */
export interface Sum {
  messages: number;
  errors: number;
  slowest: number;
  /** Messages in the last whole second. */
  rate: number;
}

export function sumOf(minute: readonly Bucket[]): Sum {
  const sum = { messages: 0, errors: 0, slowest: 0, rate: 0 };
  for (const { messages, errors, slowest } of minute) {
    sum.messages += messages;
    sum.errors += errors;
    sum.slowest = Math.max(sum.slowest, slowest);
  }
  for (const { messages } of minute.slice(-3, -1)) sum.rate += messages;
  return sum;
}

/**
 * Draws a minute in a box of 120 by 100: bars of messages, of errors at their feet, and a line of the slowest reply from
 * 0.1 ms at the bottom to 10 s at the top.
 */
export function draw(minute: readonly Bucket[]): { messages: string; errors: string; slowest: string } {
  const most = Math.max(4, ...minute.map(({ messages }) => messages));
  const bar = (x: number, height: number) => (height > 0 ? `M${x} 100V${(100 - Math.max(3, height)).toFixed(1)}h0.8V100z` : '');
  const level = (micros: number) => Math.min(97, Math.max(3, 20 * (Math.log10(micros) - 2)));
  let isDrawing = false;
  const slowest = minute.map((bucket, x) => {
    if (bucket.slowest === 0) return (isDrawing = false), '';
    const to = `${isDrawing ? 'L' : 'M'}${x} ${(100 - level(bucket.slowest)).toFixed(1)}h0.8`;
    isDrawing = true;
    return to;
  });
  return {
    messages: minute.map(({ messages }, x) => bar(x, (90 * messages) / most)).join(''),
    errors: minute.map(({ errors }, x) => bar(x, errors && Math.max(12, (90 * errors) / most))).join(''),
    slowest: slowest.join(''),
  };
}
