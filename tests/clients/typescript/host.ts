// A host for one test, and a line to it on which things go wrong. Both are gone at the test's end.

import assert from 'node:assert/strict';
import { type ChildProcess, spawn } from 'node:child_process';
import { once } from 'node:events';
import type { AddressInfo } from 'node:net';
import { createInterface } from 'node:readline';
import { connect, type ConnectOptions, type Events, type Tv } from '@ostrel/tv';
import { onTestFinished } from 'vitest';
import { WebSocket, WebSocketServer } from 'ws';

const program = process.env.OSTREL_TVD!; // Vitest's configuration sees to that

/** The host, with the clock at noon in London on the day in the middle of the guide. */
export class Host {
  readonly #process: ChildProcess;
  #log = ''; // the end of what it wrote to standard error

  /** @param listen  the address; the system chooses the port unless it is named */
  static async start(listen = '127.0.0.1:0', ...more: string[]): Promise<Host> {
    const child = spawn(program, ['--listen', listen, '--fake-time', '--log-level', 'error', ...more], {
      env: { ...process.env, TZ: 'Europe/London' },
      stdio: ['ignore', 'pipe', 'pipe'],
    });
    const host = new Host(child);
    onTestFinished(() => host.stop());
    const [line] = await Promise.race([
      once(createInterface(child.stdout), 'line'), // it ends with the address
      once(child, 'exit').then(() => assert.fail(`${program} does not start:\n${host.#log}`)),
    ]);
    host.address = line.split('http://')[1];
    return host;
  }

  address = '';

  private constructor(child: ChildProcess) {
    this.#process = child;
    child.stderr?.on('data', (text) => (this.#log = (this.#log + text).slice(-65536)));
  }

  get url(): string {
    return `ws://${this.address}`;
  }

  /** Ends it without a goodbye. */
  async kill(): Promise<void> {
    this.#process.kill('SIGKILL');
    await once(this.#process, 'exit');
  }

  async stop(): Promise<void> {
    if (this.#process.exitCode !== null || this.#process.signalCode !== null) return;
    this.#process.kill();
    const [status] = await once(this.#process, 'exit');
    assert.equal(status, 0, `${program} ended badly:\n${this.#log}`);
  }
}

/** Connects for one test. */
export async function connected(url: string, options: ConnectOptions = {}): Promise<Tv> {
  const tv = await connect(url, { firstPause: 10, ...options });
  onTestFinished(() => tv.close());
  return tv;
}

/** Resolves once the clock was told of as told here. */
export const clockAt = (tv: Tv, wanted: Partial<Events['clock']>) =>
  new Promise<void>((resolve) => {
    const stop = tv.on('clock', (told) => {
      if (Object.entries(wanted).some(([name, value]) => told[name as keyof typeof told] !== value)) return;
      stop();
      resolve();
    });
  });

interface Request {
  id: number;
  method: string;
}

/** A line to a host that passes everything on and loses what it is told to. */
export class Line {
  readonly #server = new WebSocketServer({ port: 0, host: '127.0.0.1' });
  readonly #sockets = new Set<WebSocket>();
  readonly #lost = new Set<number>();
  /** Every request that has come, in its order. */
  readonly requests: Request[] = [];
  /** How often somebody has connected. */
  connections = 0;
  /** The method whose replies do not arrive. */
  loses = '';
  /** The method on whose request the line breaks, once the host has answered it. */
  breaksOn = '';

  static async to(host: Host): Promise<Line> {
    const line = new Line();
    line.#server.on('connection', (near, { url }) => {
      const far = new WebSocket(`${host.url}${url}`);
      if (url === '/rpc/TV') line.#join(near, far);
      else line.#pass(near, far);
    });
    onTestFinished(() => line.#end());
    await once(line.#server, 'listening');
    return line;
  }

  get url(): string {
    return `ws://127.0.0.1:${(this.#server.address() as AddressInfo).port}`;
  }

  /** How often a method was asked for. */
  count(method: string): number {
    return this.requests.filter((request) => request.method === method).length;
  }

  /** The simulator, to whom nothing goes wrong. */
  #pass(near: WebSocket, far: WebSocket): void {
    const opened = this.#connect(near, far);
    near.on('message', async (text) => {
      await opened;
      far.send(String(text));
    });
    far.on('message', (text) => near.send(String(text)));
  }

  #join(near: WebSocket, far: WebSocket): void {
    this.connections += 1;
    const breaking = new Set<number>();
    const opened = this.#connect(near, far);
    near.on('message', async (text) => {
      for (const request of [JSON.parse(String(text))].flat() as Request[]) {
        this.requests.push(request);
        if (request.method === this.loses) this.#lost.add(request.id);
        if (request.method === this.breaksOn) breaking.add(request.id);
      }
      await opened;
      far.send(String(text));
    });
    far.on('message', (text) => {
      const ids = [JSON.parse(String(text))].flat().map(({ id }) => id);
      if (ids.some((id) => breaking.has(id))) near.terminate();
      else if (!ids.some((id) => this.#lost.has(id))) near.send(String(text));
    });
  }

  /** Ends one when the other ends. Resolves once the far one is there, or will not be. */
  #connect(near: WebSocket, far: WebSocket): Promise<unknown> {
    this.#sockets.add(near).add(far);
    near.on('close', () => far.terminate());
    far.on('close', () => near.terminate());
    far.on('error', () => {}); // it is closed, too
    return once(far, 'open').catch(() => {});
  }

  #end(): void {
    for (const socket of this.#sockets) socket.terminate();
    this.#server.close();
  }
}
