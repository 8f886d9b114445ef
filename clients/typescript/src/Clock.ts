import type { Caller } from './call.js';
import type { Connection } from './Connection.js';

/** How often the service is asked while the connection is open, in milliseconds. */
const interval = 30_000;

/** Seconds on a clock of this machine that nobody sets. */
const here = () => performance.now() / 1000;

/**
 * The service's time without a call each.
 *
 * The service tells whole seconds. What it said between a question and its reply bounds how far its clock is
 * from ours; several such bounds together are narrower than a second. Bounds that do not agree mean that
 * somebody has set the clock, and the newest count alone.
 */
export class Clock {
  readonly #tv: Caller;
  readonly #connection: Connection;
  #least = -Infinity; // of what must be added to here()
  #most = Infinity;
  #measuring: Promise<void> | undefined;
  #timer: ReturnType<typeof setTimeout> | undefined;

  constructor(tv: Caller, connection: Connection) {
    this.#tv = tv;
    this.#connection = connection;
    connection.events.listen('state', () => {
      clearTimeout(this.#timer);
      if (connection.state === 'open') this.#keepMeasuring();
    });
  }

  /**
   * The service's time, in seconds since 1970-01-01 UTC, with a fraction; mostly right to half a second. Until
   * it has been measured, which connect() sees to, it is this machine's.
   */
  now(): number {
    if (this.#least === -Infinity) return Date.now() / 1000;
    return here() + (this.#least + this.#most) / 2;
  }

  /** Asks the service, as is done on each new connection and then every 30 s. */
  measure(): Promise<void> {
    return (this.#measuring ??= this.#ask().finally(() => (this.#measuring = undefined)));
  }

  async #ask(): Promise<void> {
    const sent = here();
    const told = await this.#tv.call('ITVService::utcTimeGet', {});
    const least = told - here();
    const most = told + 1 - sent;
    const agrees = least <= this.#most && most >= this.#least;
    this.#least = agrees ? Math.max(least, this.#least) : least;
    this.#most = agrees ? Math.min(most, this.#most) : most;
  }

  #keepMeasuring(): void {
    this.measure()
      .catch(() => {}) // asked again soon, or on the next connection
      .finally(() => {
        if (this.#connection.state === 'open') this.#timer = setTimeout(() => this.#keepMeasuring(), interval);
      });
  }
}
