// A host for one test: started on a port that the system chooses, with the clock at noon in London
// on the day in the middle of the guide, and stopped at the test's end.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { createInterface } from 'node:readline';
import { fileURLToPath } from 'node:url';
import WebSocket from 'ws';

const program =
  process.env.OSTREL_TVD ?? fileURLToPath(new URL('../../build/release/host/ostrel-tvd', import.meta.url));

/** The host, and one WebSocket to it on which one message at a time is answered. */
export class Host {
  address; // its host and port
  #process;
  #ended; // its exit status
  #log = ''; // the end of what it wrote to standard error
  #socket;
  #waiting; // for an answer
  #notifications = [];
  #lastId = 0;

  /** @param test  its end is the host's; a host that ends badly fails it */
  static async start(test) {
    const host = new Host();
    test.after(() => host.#stop());
    await host.#connect();
    return host;
  }

  constructor() {
    this.#process = spawn(program, ['--listen', '127.0.0.1:0', '--fake-time', '--log-level', 'error'], {
      env: { ...process.env, TZ: 'Europe/London' },
      stdio: ['ignore', 'pipe', 'pipe'],
    });
    this.#process.stderr.on('data', (text) => (this.#log = (this.#log + text).slice(-65536)));
    this.#ended = once(this.#process, 'exit').then(([status]) => status);
  }

  /** Makes a request; params are left out when they are undefined. */
  request(method, params) {
    return { jsonrpc: '2.0', id: ++this.#lastId, method, params };
  }

  /** Sends a request or a batch and returns what it is answered. */
  ask(message) {
    return new Promise((resolve, reject) => {
      this.#waiting = { resolve, reject };
      this.#socket.send(JSON.stringify(message));
    });
  }

  /** Returns the notifications that came before the latest reply and have not been taken yet. */
  takeNotifications() {
    return this.#notifications.splice(0);
  }

  /** Makes a context and returns its number. */
  async makeContext() {
    return (await this.ask(this.request('ITVService::createContext'))).result;
  }

  async #connect() {
    const [line] = await Promise.race([
      once(createInterface(this.#process.stdout), 'line'), // it ends with the address
      this.#ended.then(() => assert.fail(`${program} does not start:\n${this.#log}`)),
    ]);
    this.address = line.split('http://')[1];
    this.#socket = new WebSocket(`ws://${this.address}/rpc/TV`, 'jsonrpc', {
      perMessageDeflate: false,
    });
    this.#socket.on('message', (text) => {
      const message = JSON.parse(text);
      if (Array.isArray(message) || 'id' in message) this.#waiting.resolve(message);
      else this.#notifications.push(message);
    });
    this.#socket.on('close', (code) => this.#waiting?.reject(new Error(`the host hung up with ${code}`)));
    await once(this.#socket, 'open');
  }

  async #stop() {
    this.#process.kill();
    assert.equal(await this.#ended, 0, `${program} ended badly:\n${this.#log}`);
  }
}
