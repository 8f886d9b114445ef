import { Batch, type BatchCaller } from './Batch.js';
import type { Arguments, CallOptions, Result } from './call.js';
import { Clock } from './Clock.js';
import { Connection, type ConnectOptions } from './Connection.js';
import type { Events, Matching, State, TvEvent } from './Emitter.js';
import { ConnectionLost } from './errors.js';
import type { Methods } from './generated/description.js';
import { Guide } from './Guide.js';
import { Scan } from './Scan.js';
import { Service } from './Service.js';
import { Stream } from './Stream.js';

/**
 * Connects to a TV service.
 *
 * @param url  its address, such as `ws://127.0.0.1:8480`
 * @throws {ConnectionLost} the service could not be reached, or refuses the token. For a client that shall
 *   keep trying there is `new Tv(url)`.
 */
export async function connect(url: string | URL, options: ConnectOptions = {}): Promise<Tv> {
  const tv = new Tv(url, options);
  await new Promise<void>((resolve, reject) => {
    const stop = tv.on('state', ({ state, reason }) => {
      if (state === 'connecting') return;
      stop();
      if (state === 'open') return resolve();
      tv.close();
      reject(new ConnectionLost(`cannot connect to ${url}: ${reason}`));
    });
  });
  await tv.clock.measure().catch((error: unknown) => {
    tv.close();
    throw error;
  });
  return tv;
}

/**
 * A conversation with a TV service. The connection mends itself: it is made anew, with growing pauses, until
 * close() is called.
 *
 * Calls that are made while it is not there wait for it, up to their time-out. What was under way when it
 * broke is rejected with ConnectionLost and never sent again. After each new connection `resync` is told.
 */
export class Tv implements BatchCaller {
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
    this.#connection = new Connection(url, options);
    this.service = new Service(this);
    this.guide = new Guide(this);
    this.scan = new Scan(this);
    this.clock = new Clock(this, this.#connection);
  }

  /** How the connection stands; `tv.on('state', …)` tells of changes. */
  get state(): State {
    return this.#connection.state;
  }

  async call<M extends keyof Methods | (string & {})>(method: M, ...more: Arguments<M>): Promise<Result<M>> {
    const [result] = await this.batch((batch) => [batch.call(method, ...more)]);
    return result;
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

  /**
   * Listens to what the service tells by itself (`scanStart`, `scanProgress`, `scanComplete`) and to what the
   * connection goes through (`state`, `resync`).
   *
   * What a call raises is heard before the call's own reply.
   *
   * @returns what ends the listening
   */
  on<Name extends keyof Events>(name: Name, listener: (params: Events[Name]) => void): () => void {
    return this.#connection.events.listen(name, (_, params) => listener(params as Events[Name]));
  }

  /**
   * Returns the events from now on whose name fits, such as `scan*`, for a `for await`. The loop ends with
   * close(), when it is left, and by return() of what this gives; a slow one is told the newest 1,000.
   */
  events<Pattern extends keyof Events | `${string}*`>(
    pattern: Pattern,
  ): AsyncIterableIterator<TvEvent<Matching<Pattern>>> {
    const { events } = this.#connection;
    const stream = new Stream<TvEvent<Matching<Pattern>>>(() => stops.forEach((stop) => stop()));
    const stops = [
      events.listen(pattern, (name, params) => stream.push({ name, params } as TvEvent<Matching<Pattern>>)),
      this.on('state', ({ state }) => {
        if (state === 'closed') stream.end();
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
