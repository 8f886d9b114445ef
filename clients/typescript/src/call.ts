// SPDX-License-Identifier: Apache-2.0

import { TimedOut } from './errors.js';
import { contextless, type Methods } from './generated/description.js';

/** What a call may be given beside its payload. */
export interface CallOptions {
  /** Ends the call; it is rejected with the signal's reason. The service may carry it out all the same. */
  signal?: AbortSignal | undefined;
  /** How long to wait for the connection and the reply, in milliseconds; Infinity for ever. */
  timeout?: number | undefined;
  /** A context to use in place of the connection's own, from `tv.service.createContext()`. */
  context?: number | undefined;
}

/** What a method takes behind its name. */
export type Arguments<M extends string> = M extends keyof Methods
  ? undefined extends Methods[M]['payload']
    ? [payload?: undefined, options?: CallOptions]
    : [payload: Methods[M]['payload'], options?: CallOptions]
  : [payload?: unknown, options?: CallOptions];

/** What a method gives. */
export type Result<M extends string> = M extends keyof Methods ? Methods[M]['result'] : unknown;

/** What calls can be made with: a connection, or a batch of it. */
export interface Caller {
  /**
   * Calls a method by its full name, typed where the description knows it.
   *
   * @throws {ServiceError} the service has refused it
   * @throws {DecodeError} the payload is not what the method takes
   * @throws {ConnectionLost} the connection broke while the call was under way; it is not sent again
   * @throws {TimedOut} no reply came in time
   */
  call<M extends keyof Methods | (string & {})>(method: M, ...more: Arguments<M>): Promise<Result<M>>;
}

let lastId = 0;

/** One call from when it is made until it is answered, or nobody waits for it any more. */
export class Call {
  readonly id = ++lastId;
  readonly promise: Promise<unknown>;
  readonly needsOwnContext: boolean;
  isSettled = false;
  /** Called once, when the call is settled. */
  onSettled: () => void = () => {};
  readonly #takesContext: boolean;
  #resolve!: (result: unknown) => void;
  #reject!: (error: unknown) => void;
  #timer: ReturnType<typeof setTimeout> | undefined;

  constructor(
    readonly method: string,
    private readonly payload: unknown,
    private readonly options: CallOptions & { timeout: number },
  ) {
    this.#takesContext = !contextless.includes(method) && !/^(rpc\.|Simulator::)/.test(method);
    this.needsOwnContext = this.#takesContext && options.context === undefined;
    this.promise = new Promise((resolve, reject) => {
      this.#resolve = resolve;
      this.#reject = reject;
    });
    this.promise.catch(() => {}); // who waits for it hears of it all the same
    const { signal, timeout } = options;
    signal?.addEventListener('abort', this.#abort);
    if (signal?.aborted) this.#abort();
    else if (timeout !== Infinity)
      this.#timer = setTimeout(() => this.fail(new TimedOut(`no reply within ${timeout} ms`, method)), timeout);
  }

  /** Returns the request. @param ownContext  the connection's own, for calls that name none */
  request(ownContext: number | undefined): object {
    const context = this.needsOwnContext ? ownContext : this.options.context;
    const params = this.#takesContext || context !== undefined ? { context, payload: this.payload } : this.payload;
    return { jsonrpc: '2.0', id: this.id, method: this.method, params };
  }

  succeed(result: unknown): void {
    this.#settle();
    this.#resolve(result);
  }

  fail(error: unknown): void {
    this.#settle();
    this.#reject(error);
  }

  readonly #abort = () => this.fail(this.options.signal?.reason);

  #settle(): void {
    if (this.isSettled) return;
    this.isSettled = true;
    clearTimeout(this.#timer);
    this.options.signal?.removeEventListener('abort', this.#abort);
    this.onSettled();
  }
}
