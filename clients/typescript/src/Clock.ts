// SPDX-License-Identifier: Apache-2.0

import { Call, type Caller } from './call.js';
import type { Connection, Server } from './Connection.js';
import { ConnectionLost } from './errors.js';

/** How often the service is asked while the connection is open, in milliseconds. */
const interval = 30_000;

/** What is needed of the simulation's own controls. */
const simulator: Server = {
  name: 'Simulator',
  results: { 'Simulator::clockGet': { speed: 'number' } },
  notifications: { 'Simulator::onClock': ['clock', { speed: 'number' }] },
};

/** Seconds on a clock of this machine that nobody sets. */
const here = () => performance.now() / 1000;

/**
 * The service's time without a call each.
 *
 * The service tells whole seconds. What it said between a question and its reply bounds how far its clock is
 * from ours; several such bounds together are narrower than a second. Bounds that do not agree mean that
 * somebody has set the clock, and the newest count alone. Where the service is simulated, the simulator tells
 * when its clock is set, stands, or goes at another speed.
 */
export class Clock {
  readonly #tv: Caller;
  readonly #connection: Connection;
  #simulator: Connection | undefined;
  #speed = 1;
  #least = -Infinity; // of what must be added to here() times the speed
  #most = Infinity;
  #nextSpeed = 1; // from the next measurement on
  #changes = 0; // of which each spoils the measurement that is under way
  #isSet = false; // since the latest measurement
  #measuring: Promise<void> | undefined;
  #timer: ReturnType<typeof setTimeout> | undefined;

  constructor(tv: Caller, connection: Connection) {
    this.#tv = tv;
    this.#connection = connection;
    connection.events.listen('state', () => {
      clearTimeout(this.#timer);
      this.#simulator?.close();
      if (connection.state !== 'open') return;
      this.#hear(1); // until it is known better
      this.#keepMeasuring();
      this.#follow();
    });
  }

  /** The seconds of the service that pass in one of ours: 1, unless a simulator has been told another, and 0
   * while its clock stands. */
  get speed(): number {
    return this.#speed;
  }

  /**
   * The service's time, in seconds since 1970-01-01 UTC, with a fraction; mostly right to half a second. Until
   * it has been measured, which connect() sees to, it is this machine's.
   */
  now(): number {
    if (this.#least === -Infinity) return Date.now() / 1000;
    const added = this.#speed === 0 ? this.#least : (this.#least + this.#most) / 2;
    return here() * this.#speed + added;
  }

  /**
   * How long it is, in milliseconds, until the service's clock has certainly come to a time; 0 where it has,
   * Infinity where it will not, because it stands or is not known.
   *
   * @param time  in seconds since 1970-01-01 UTC
   */
  msecUntil(time: number): number {
    const left = time - (here() * this.#speed + this.#least);
    return left <= 0 ? 0 : (left / this.#speed) * 1000;
  }

  /** Asks the service, as is done on each new connection and then every 30 s. */
  measure(): Promise<void> {
    return (this.#measuring ??= this.#ask().finally(() => (this.#measuring = undefined)));
  }

  async #ask(): Promise<void> {
    let changes: number, sent: number, told: number, received: number;
    do {
      changes = this.#changes;
      sent = here();
      told = await this.#tv.call('ITVService::utcTimeGet', {});
      received = here();
    } while (changes !== this.#changes); // what was told may be of before
    const speed = this.#nextSpeed;
    const least = told - received * speed;
    const most = told + 1 - sent * speed;
    const agrees = !this.#isSet && speed === this.#speed && least <= this.#most && most >= this.#least;
    const isNew = this.#isSet || speed !== this.#speed || this.#least === -Infinity;
    const before = this.now();
    this.#isSet = false;
    this.#speed = speed;
    this.#least = agrees ? Math.max(least, this.#least) : least;
    this.#most = agrees ? Math.min(most, this.#most) : most;
    // Clocks that drift apart disagree one day, by less than anybody sees.
    if (isNew || Math.abs(this.now() - before) > 1)
      this.#connection.events.emit('clock', { now: this.now(), speed });
  }

  #keepMeasuring(): void {
    this.measure()
      .catch(() => {}) // asked again soon, or on the next connection
      .finally(() => {
        clearTimeout(this.#timer);
        if (this.#connection.state === 'open') this.#timer = setTimeout(() => this.#keepMeasuring(), interval);
      });
  }

  #hear(speed: number): void {
    this.#nextSpeed = speed;
    this.#changes += 1;
  }

  /** Hears of what is done to the clock, where there is a simulator: if the first attempt fails there is none. */
  #follow(): void {
    const simulated = (this.#simulator = this.#connection.beside(simulator));
    let isThere = false;
    let isTold = false; // on this connection
    const measure = () => void this.measure().catch(() => {});
    simulated.events.listen('clock', (_, params) => {
      this.#isSet = isTold = true;
      this.#hear((params as { speed: number }).speed);
      measure();
    });
    simulated.events.listen('state', () => {
      if (simulated.state === 'waiting' && !isThere) simulated.close();
      if (simulated.state !== 'open') return;
      isThere = true;
      isTold = false;
      const call = new Call('Simulator::clockGet', undefined, { timeout: simulated.timeout });
      simulated.send([call]);
      call.promise.then((clock) => {
        if (!isTold) this.#hear((clock as { speed: number }).speed); // what is told is later, and may overtake it
        measure(); // it may have been set before we could hear of it
      }, (error) => {
        if (!(error instanceof ConnectionLost)) simulated.close(); // it knows of no clock
      });
    });
  }
}
