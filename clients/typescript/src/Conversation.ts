// SPDX-License-Identifier: Apache-2.0

import { Call, type CallOptions } from './call.js';
import type { Connection } from './Connection.js';
import type { ConnectionEvents, EventOf, Matching, State } from './Emitter.js';
import { ConnectionLost } from './errors.js';
import { Stream } from './Stream.js';

/**
 * A conversation with a server. The connection mends itself: it is made anew, with growing pauses, until
 * close() is called.
 *
 * Calls that are made while it is not there wait for it, up to their time-out. What was under way when it
 * broke is rejected with ConnectionLost and never sent again. After each new connection `resync` is told.
 */
export class Conversation<Events extends ConnectionEvents> {
  readonly #connection: Connection;

  constructor(connection: Connection) {
    this.#connection = connection;
  }

  /** How the connection stands; `on('state', …)` tells of changes. */
  get state(): State {
    return this.#connection.state;
  }

  /**
   * Calls a method by its full name.
   *
   * @throws {ServiceError} the service has refused it
   * @throws {DecodeError} the payload is not what the method takes
   * @throws {ConnectionLost} the connection broke while the call was under way; it is not sent again
   * @throws {TimedOut} no reply came in time
   */
  call(method: string, payload?: unknown, options: CallOptions = {}): Promise<unknown> {
    const call = new Call(method, payload, { ...options, timeout: options.timeout ?? this.#connection.timeout });
    this.#connection.send([call]);
    return call.promise;
  }

  /**
   * Listens to what the server tells by itself and to what the connection goes through (`state`, `resync`).
   *
   * What a call raises is heard before the call's own reply.
   *
   * @returns what ends the listening
   */
  on<Name extends keyof Events & string>(name: Name, listener: (params: Events[Name]) => void): () => void {
    return this.#connection.events.listen(name, (_, params) => listener(params as Events[Name]));
  }

  /**
   * Returns the events from now on whose name fits, such as `scan*`, for a `for await`. The loop ends with
   * close(), when it is left, and by return() of what this gives; a slow one is told the newest 1,000.
   */
  events<Pattern extends (keyof Events & string) | `${string}*`>(
    pattern: Pattern,
  ): AsyncIterableIterator<EventOf<Events, Matching<Events, Pattern>>> {
    const { events } = this.#connection;
    const stream = new Stream<EventOf<Events, Matching<Events, Pattern>>>(() => stops.forEach((stop) => stop()));
    const stops = [
      events.listen(pattern, (name, params) => stream.push({ name, params } as any)),
      events.listen('state', () => {
        if (this.state === 'closed') stream.end();
      }),
    ];
    if (this.state === 'closed') stream.end();
    return stream;
  }

  /** Ends the conversation for good; calls under way are rejected with ConnectionLost. */
  close(): void {
    this.#connection.close();
  }
}

/** Waits for the connection. @throws {ConnectionLost} the first attempt has failed; the conversation is over */
export function opened(conversation: Conversation<any>, url: string | URL): Promise<void> {
  return new Promise((resolve, reject) => {
    const stop = conversation.on('state', ({ state, reason }: ConnectionEvents['state']) => {
      if (state === 'connecting') return;
      stop();
      if (state === 'open') return resolve();
      conversation.close();
      reject(new ConnectionLost(`cannot connect to ${url}: ${reason}`));
    });
  });
}
