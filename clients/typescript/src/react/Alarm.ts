// SPDX-License-Identifier: Apache-2.0

import type { Clock } from '../Clock.js';

/** However fast the service's clock runs, nobody is woken more often, in milliseconds. */
const shortest = 100;

/** What a timer can sleep, in milliseconds. */
const longest = 2 ** 31 - 1;

/** Wakes at times of the service's clock: one timer for all, that sleeps until the first of them is due. While
 * the clock stands there is none. */
export class Alarm {
  readonly #clock: Clock;
  readonly #times = new Map<() => void, number>();
  #timer: ReturnType<typeof setTimeout> | undefined;
  #next = Infinity; // that the timer is for
  #rung = -Infinity; // when it last went off, by performance.now()

  constructor(clock: Clock) {
    this.#clock = clock;
  }

  /** Has `wake` called once, when the service's clock has certainly come to a time; in place of what was set
   * for it before. */
  set(wake: () => void, time: number): void {
    this.#times.set(wake, time);
    if (time < this.#next) this.rest();
  }

  cancel(wake: () => void): void {
    this.#times.delete(wake);
    if (this.#times.size === 0) this.rest();
  }

  /** Sets the timer, anew where the clock goes otherwise than it did. */
  rest(): void {
    clearTimeout(this.#timer);
    this.#next = Math.min(...this.#times.values());
    const pause = Math.max(this.#clock.msecUntil(this.#next), this.#rung + shortest - performance.now());
    if (pause < Infinity) this.#timer = setTimeout(() => this.#ring(), Math.min(pause, longest));
  }

  #ring(): void {
    this.#rung = performance.now();
    for (const [wake, time] of [...this.#times]) {
      if (this.#clock.msecUntil(time) > 0) continue;
      this.#times.delete(wake);
      wake();
    }
    this.rest();
  }
}
