// SPDX-License-Identifier: Apache-2.0

import type { Notifications } from './generated/description.js';

/** How the connection stands. */
export type State = 'connecting' | 'open' | 'waiting' | 'closed';

/** What a connection goes through. */
export interface ConnectionEvents {
  /** The connection has changed. */
  state: {
    state: State;
    /** In `waiting`: when the next attempt begins, in milliseconds from now. */
    retryIn?: number;
    /** Why the connection is not there, for people. */
    reason?: string;
  };
  /**
   * A new connection is there. What happened meanwhile was not told, and lists must be selected anew:
   * ask again for whatever is on show.
   */
  resync: {};
}

/** What tv.on() and tv.events() tell: the service's notifications, and what the connection goes through. */
export interface Events extends Notifications, ConnectionEvents {
  /** The service's clock is known now, was set, or goes at another speed: whatever is shown of time is to be
   * shown anew, by `tv.clock`. */
  clock: {
    /** Seconds since 1970-01-01 UTC. */
    now: number;
    /** The seconds of the service that pass in one; 0 while its clock stands. */
    speed: number;
  };
}

/** The names of events, of which a pattern such as `scan*` means several. */
export type Matching<All, Pattern extends string> = Pattern extends `${infer Start}*`
  ? Extract<keyof All, `${Start}${string}`>
  : Extract<keyof All, Pattern>;

/** One of some events by its name and what it carries. */
export type EventOf<All, Name extends keyof All = keyof All> = {
  [N in Name]: { name: N; params: All[N] };
}[Name];

/** An event of a `Tv` by its name and what it carries. */
export type TvEvent<Name extends keyof Events = keyof Events> = EventOf<Events, Name>;

type Listener = (name: string, params: unknown) => void;

/** Tells listeners of events, in the order of their coming. */
export class Emitter {
  readonly #listeners = new Set<Listener>();

  /** Returns what ends the listening. */
  listen(pattern: string, listener: Listener): () => void {
    const start = pattern.endsWith('*') ? pattern.slice(0, -1) : undefined;
    const entry: Listener = (name, params) => {
      if (start === undefined ? name === pattern : name.startsWith(start)) listener(name, params);
    };
    this.#listeners.add(entry);
    return () => void this.#listeners.delete(entry);
  }

  /** A listener that throws is reported as an uncaught error, and the others are told all the same. */
  emit(name: string, params: unknown): void {
    for (const listener of [...this.#listeners]) {
      if (!this.#listeners.has(listener)) continue; // ended by one before it
      try {
        listener(name, params);
      } catch (error) {
        queueMicrotask(() => {
          throw error;
        });
      }
    }
  }
}
