// SPDX-License-Identifier: Apache-2.0

/** Past these the oldest goes: who does not read keeps no more than this. */
const mostKept = 1000;

/** Hands events to a `for await` that may be slower than they come: the newest 1,000 are kept. */
export class Stream<T> implements AsyncIterableIterator<T> {
  readonly #kept: T[] = [];
  readonly #readers: ((result: IteratorResult<T>) => void)[] = [];
  #isEnded = false;

  /** @param onEnd  called once, when nobody listens any more */
  constructor(private readonly onEnd: () => void) {}

  push(event: T): void {
    const reader = this.#readers.shift();
    if (reader !== undefined) return reader({ value: event, done: false });
    this.#kept.push(event);
    if (this.#kept.length > mostKept) this.#kept.shift();
  }

  /** What is kept can still be read. */
  end(): void {
    if (this.#isEnded) return;
    this.#isEnded = true;
    for (const reader of this.#readers.splice(0)) reader({ value: undefined, done: true });
    this.onEnd();
  }

  async next(): Promise<IteratorResult<T>> {
    const value = this.#kept.shift();
    if (value !== undefined) return { value, done: false };
    if (this.#isEnded) return { value: undefined, done: true };
    return new Promise((resolve) => this.#readers.push(resolve));
  }

  /** Called where a loop is left before its end. */
  async return(): Promise<IteratorResult<T>> {
    this.#kept.length = 0;
    this.end();
    return { value: undefined, done: true };
  }

  [Symbol.asyncIterator](): this {
    return this;
  }
}
