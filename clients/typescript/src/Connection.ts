// SPDX-License-Identifier: Apache-2.0

import { Call } from './call.js';
import { Emitter, type State } from './Emitter.js';
import { ConnectionLost, errorFrom, misfitError, ServiceError } from './errors.js';
import { notifications, results } from './generated/description.js';
import { findMisfit, type Shape } from './Shape.js';

/** What connect() may be given. */
export interface ConnectOptions {
  /** What the service was started with as its `--token-file`. */
  token?: string | undefined;
  /** How long a call waits for the connection and its reply unless it says otherwise, and how long an
   * attempt to connect may take, in milliseconds. Default: 10000. */
  timeout?: number | undefined;
  /** The pause before the first new attempt, in milliseconds; it doubles with each that fails. Each pause
   * is cut by up to half, by chance, so that clients do not all come back at once. Default: 250. */
  firstPause?: number | undefined;
  /** What pauses grow to, in milliseconds. Default: 15000. */
  longestPause?: number | undefined;
  /** Is shown every message as it travels, whole, before anything is made of it: for tools that look on. It is
   * called between the connection's own steps, so it returns soon and does not throw. */
  observe?: ((direction: 'sent' | 'received', text: string) => void) | undefined;
}

/** A server of the host, and what of it is known. */
export interface Server {
  name: string;
  results: Readonly<Record<string, Shape>>;
  notifications: Readonly<Record<string, readonly [event: string, params: Shape]>>;
}

const tvServer: Server = { name: 'TV', results, notifications };

/** What came, before it is known what of this is there. */
interface Message {
  id?: unknown;
  method?: unknown;
  params?: unknown;
  result?: unknown;
  error?: unknown;
}

const anything = 'number|string|boolean|null|object';

const lookUp = <T>(table: Readonly<Record<string, T>>, name: string) => (Object.hasOwn(table, name) ? table[name] : undefined);

/** How many requests the service takes in one message. */
const mostInBatch = 100;

/** The platform's WebSocket; Node before 22 has none and takes that of the package ws. */
async function findWebSocket(): Promise<typeof WebSocket> {
  if (globalThis.WebSocket !== undefined) return globalThis.WebSocket;
  const ws = await import('ws').catch(() => {
    throw new Error('Node before 22 needs the package ws beside @ostrel/tv');
  });
  return ws.WebSocket as unknown as typeof WebSocket;
}

/** Returns where calls to a server go: http is taken for ws, and a host's address for that of its servers. */
function endpoint(url: string | URL, server: string): string {
  const parsed = new URL(url);
  parsed.protocol = parsed.protocol.replace('http', 'ws');
  parsed.pathname = parsed.pathname === '/' ? `/rpc/${server}` : parsed.pathname.replace(/\/TV$/, `/${server}`);
  parsed.hash = '';
  return parsed.href;
}

/**
 * A WebSocket that is made anew when it breaks, and the calls on it.
 *
 * Calls that are made while there is none wait for the next one, in their order. A call is sent once: those
 * that were sent and not answered when the connection breaks are rejected. The first call that needs a
 * context on a connection makes it, and those behind wait for it.
 */
export class Connection {
  readonly events = new Emitter();
  readonly timeout: number;
  readonly #url: string;
  readonly #protocols: string[];
  readonly #firstPause: number;
  readonly #longestPause: number;
  #state: State = 'connecting';
  #socket: WebSocket | undefined;
  #timer: ReturnType<typeof setTimeout> | undefined; // of the attempt, or of the pause before it
  #failures = 0; // since something was last heard
  #context: number | undefined;
  #isContextUnderWay = false;
  #queue: Call[][] = []; // not sent yet, message by message
  readonly #sent = new Map<number, Call>(); // not answered yet

  constructor(
    private readonly url: string | URL,
    private readonly options: ConnectOptions,
    private readonly server = tvServer,
  ) {
    const { token, timeout = 10_000, firstPause = 250, longestPause = 15_000 } = options;
    this.#url = endpoint(url, server.name);
    this.#protocols = token === undefined ? ['jsonrpc'] : ['jsonrpc', `bearer.${token}`];
    this.timeout = timeout;
    this.#firstPause = firstPause;
    this.#longestPause = longestPause;
    void this.#open();
  }

  get state(): State {
    return this.#state;
  }

  /** Returns a connection to another server of the same host. */
  beside(server: Server): Connection {
    return new Connection(this.url, this.options, server);
  }

  /** Sends calls in one message each hundred, once that is possible. */
  send(calls: Call[]): void {
    for (let i = 0; i < calls.length; i += mostInBatch) {
      const message = calls.slice(i, i + mostInBatch);
      for (const call of message) call.onSettled = () => this.#forget(call, message);
      this.#queue.push(message);
    }
    this.#flush();
  }

  close(reason = 'closed by this client'): void {
    if (this.#state === 'closed') return;
    this.#lose(reason);
    this.#become('closed', { reason });
    this.#failAll(this.#queue.splice(0).flat(), reason);
  }

  async #open(): Promise<void> {
    let socket: WebSocket;
    try {
      const Socket = await findWebSocket();
      if (this.#state === 'closed') return;
      socket = new Socket(this.#url, this.#protocols);
    } catch (error) {
      return this.close(`no WebSocket: ${error instanceof Error ? error.message : error}`);
    }
    this.#socket = socket;
    if (this.timeout !== Infinity)
      this.#timer = setTimeout(() => this.#retry(`no connection within ${this.timeout} ms`), this.timeout);
    socket.onopen = () => {
      clearTimeout(this.#timer);
      this.#become('open');
      if (this.#state === 'open') this.events.emit('resync', {});
      this.#flush();
    };
    socket.onmessage = ({ data }) => this.#receive(data);
    // A browser does not say why. Node 22 says nothing more behind an error, others that it is closed.
    socket.onerror = (event) => this.#retry((event as ErrorEvent).message || 'the connection failed');
    socket.onclose = ({ code, reason }) => this.#retry(reason ? `closed with ${code}, ${reason}` : `closed with ${code}`);
  }

  #become(state: State, more: { retryIn?: number; reason?: string } = {}): void {
    this.#state = state;
    this.events.emit('state', { state, ...more });
  }

  /** Leaves the socket, and rejects what was sent on it. */
  #lose(reason: string): void {
    const socket = this.#socket;
    clearTimeout(this.#timer);
    this.#socket = undefined;
    this.#context = undefined;
    this.#isContextUnderWay = false;
    if (socket !== undefined) {
      socket.onopen = socket.onmessage = socket.onclose = null;
      socket.onerror = () => {}; // one that is closed before it is open says so
      socket.close();
    }
    this.#failAll([...this.#sent.values()], reason);
  }

  #retry(reason: string): void {
    const most = Math.min(this.#longestPause, this.#firstPause * 2 ** this.#failures++);
    const retryIn = most * (1 - Math.random() / 2);
    this.#lose(reason);
    this.#timer = setTimeout(() => {
      this.#become('connecting');
      void this.#open();
    }, retryIn);
    this.#become('waiting', { retryIn, reason });
  }

  #failAll(calls: Call[], reason: string): void {
    for (const call of calls) call.fail(new ConnectionLost(reason, call.method));
  }

  #forget(call: Call, message: Call[]): void {
    const isWaiting = !this.#sent.delete(call.id);
    if (isWaiting && message.every(({ isSettled }) => isSettled))
      this.#queue = this.#queue.filter((other) => other !== message);
  }

  #flush(): void {
    if (this.#state === 'closed') return this.#failAll(this.#queue.splice(0).flat(), 'closed by this client');
    while (this.#state === 'open') {
      const calls = this.#queue[0]?.filter(({ isSettled }) => !isSettled);
      if (calls === undefined) return;
      if (this.#context === undefined && calls.some((call) => call.needsOwnContext)) return this.#makeContext();
      this.#queue.shift();
      if (calls.length > 0) this.#transmit(calls);
    }
  }

  #transmit(calls: Call[]): void {
    for (const call of calls) this.#sent.set(call.id, call);
    const requests = calls.map((call) => call.request(this.#context));
    const text = JSON.stringify(requests.length === 1 ? requests[0] : requests);
    this.options.observe?.('sent', text);
    this.#socket?.send(text);
  }

  #makeContext(): void {
    if (this.#isContextUnderWay) return;
    this.#isContextUnderWay = true;
    const socket = this.#socket;
    const call = new Call('ITVService::createContext', undefined, { timeout: this.timeout });
    call.onSettled = () => this.#sent.delete(call.id);
    this.#transmit([call]);
    call.promise
      .then((context) => {
        if (socket === this.#socket) this.#context = context as number;
      })
      .catch((error) => {
        // Who waits for it is told; with the connection gone they wait for the next one.
        if (socket === this.#socket)
          for (const waiting of this.#queue.flat()) if (waiting.needsOwnContext) waiting.fail(error);
      })
      .finally(() => {
        if (socket !== this.#socket) return;
        this.#isContextUnderWay = false;
        this.#flush();
      });
  }

  #receive(text: string): void {
    this.options.observe?.('received', text);
    let messages: Message[];
    try {
      messages = [JSON.parse(text)].flat();
    } catch {
      return this.#retry('what came is not JSON');
    }
    if (messages.some((message) => typeof message !== 'object' || message === null))
      return this.#retry('what came is not JSON-RPC');
    this.#failures = 0;
    for (const message of messages) {
      if (typeof message.method === 'string') this.#notify(message.method, message.params);
      else this.#answer(message);
    }
  }

  /** What is not known, or not as described, is not told. */
  #notify(method: string, params: unknown): void {
    const [event, shape] = lookUp(this.server.notifications, method) ?? [];
    if (event !== undefined && findMisfit(params, shape!) === undefined) this.events.emit(event, params);
  }

  #answer({ id, result, error }: Message): void {
    // One that names no request is of the oldest: replies keep the order of requests.
    const call = id == null ? this.#sent.values().next().value : this.#sent.get(id as number);
    if (call === undefined) return; // nobody waits for it any more
    if (error != null) {
      const failure = errorFrom(error, call.method);
      const isContextGone = failure instanceof ServiceError && failure.member === 'context';
      if (isContextGone && call.needsOwnContext) this.#context = undefined;
      return call.fail(failure);
    }
    const misfit = findMisfit(result, lookUp(this.server.results, call.method) ?? anything);
    if (misfit === undefined) call.succeed(result);
    else call.fail(misfitError(`result${misfit}`, call.method));
  }
}
