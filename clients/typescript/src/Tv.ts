// SPDX-License-Identifier: Apache-2.0

import { Batch, type BatchCaller } from './Batch.js';
import type { Arguments, CallOptions, Result } from './call.js';
import { Clock } from './Clock.js';
import { Connection, type ConnectOptions } from './Connection.js';
import { Conversation, opened } from './Conversation.js';
import type { Events } from './Emitter.js';
import type { Methods } from './generated/description.js';
import { Guide } from './Guide.js';
import { Scan } from './Scan.js';
import { Service } from './Service.js';

/**
 * Connects to a TV service.
 *
 * @param url  its address, such as `ws://127.0.0.1:8480`
 * @throws {ConnectionLost} the service could not be reached, or refuses the token. For a client that shall
 *   keep trying there is `new Tv(url)`.
 */
export async function connect(url: string | URL, options: ConnectOptions = {}): Promise<Tv> {
  const tv = new Tv(url, options);
  await opened(tv, url);
  await tv.clock.measure().catch((error: unknown) => {
    tv.close();
    throw error;
  });
  return tv;
}

/** A conversation with a TV service. */
export class Tv extends Conversation<Events> implements BatchCaller {
  readonly #connection: Connection;

  /** The channels, what is on them, and the time. */
  readonly service: Service;
  /** The programme guide. */
  readonly guide: Guide;
  /** The search for channels, and the transponders that it visits. */
  readonly scan: Scan;
  /** The service's time. */
  readonly clock: Clock;

  constructor(url: string | URL, options: ConnectOptions = {}) {
    const connection = new Connection(url, options);
    super(connection);
    this.#connection = connection;
    this.service = new Service(this);
    this.guide = new Guide(this);
    this.scan = new Scan(this);
    this.clock = new Clock(this, connection);
  }

  /** Calls a method by its full name, typed where the description knows it. */
  override call<M extends keyof Methods | (string & {})>(method: M, ...more: Arguments<M>): Promise<Result<M>> {
    return super.call(method, ...more) as Promise<Result<M>>;
  }

  batch<const T extends readonly unknown[]>(
    build: (batch: Batch) => T,
    defaults: CallOptions = {},
  ): Promise<{ -readonly [I in keyof T]: Awaited<T[I]> }> {
    const batch = new Batch({ ...defaults, timeout: defaults.timeout ?? this.#connection.timeout });
    const results = Promise.all(build(batch));
    this.#connection.send(batch.calls);
    return results;
  }
}
