// A WebSocket to a server, on which one message at a time is answered.

import { once } from 'node:events';
import WebSocket from 'ws';

/** The server did not answer: it hung up, took too long, or sent what is no JSON. */
export class NoAnswer extends Error {
  sent; // the text that is not answered
}

export class Conversation {
  #socket;
  #timeout;
  #waiting; // for an answer
  #notifications = [];
  #before = 0; // how many of them came before the latest reply
  #lastId = 0;

  /**
   * Connects to a server.
   * @param {string} url
   * @param {{token?: string, timeout?: number}} options  timeout: how long to wait for the connection
   *     and each answer, in seconds; for ever where it is left out
   * @throws {Error}  there is no connection; the message says why
   */
  static async open(url, { token, timeout } = {}) {
    const conversation = new Conversation();
    const socket = new WebSocket(url, 'jsonrpc', {
      perMessageDeflate: false,
      handshakeTimeout: timeout && timeout * 1000,
      headers: token ? { Authorization: `Bearer ${token}` } : {},
    });
    conversation.#socket = socket;
    conversation.#timeout = timeout;
    socket.on('message', (text) => conversation.#hear(text));
    socket.on('close', (code) => conversation.#fail(`the server hung up with ${code}`));
    await once(socket, 'open');
    socket.on('error', ({ message }) => conversation.#fail(message));
    return conversation;
  }

  close() {
    this.#socket.terminate();
  }

  /** Makes a request; params are left out when they are undefined. */
  request(method, params) {
    return { jsonrpc: '2.0', id: ++this.#lastId, method, params };
  }

  /**
   * Sends a request or a batch and returns what it is answered.
   * @throws {NoAnswer}  and nothing more can be asked here
   */
  ask(message) {
    return this.askText(JSON.stringify(message));
  }

  /** Sends a text and returns what it is answered. */
  askText(text) {
    return new Promise((resolve, reject) => {
      this.#waiting = { text, resolve, reject };
      if (this.#socket.readyState !== WebSocket.OPEN) return this.#fail('the server has hung up');
      if (this.#timeout)
        this.#waiting.timer = setTimeout(
          () => this.#fail(`nothing within ${this.#timeout} s`),
          this.#timeout * 1000,
        );
      this.#socket.send(text);
    });
  }

  /** Returns the notifications that came before the latest reply and have not been taken yet. */
  takeNotifications() {
    const taken = this.#notifications.splice(0, this.#before);
    this.#before = 0;
    return taken;
  }

  /** Makes a context and returns its number. */
  async makeContext() {
    return (await this.ask(this.request('ITVService::createContext'))).result;
  }

  #hear(text) {
    let message;
    try {
      message = JSON.parse(text);
    } catch {
      return this.#fail(`the server sent what is not JSON: ${text}`);
    }
    // One without an id is for nobody in particular, unless it can be nothing but a reply.
    const isReply = Array.isArray(message) || 'id' in Object(message) || !('method' in Object(message));
    if (!isReply) return this.#notifications.push(message);
    // Others may be here, right behind it, when the caller gets to see the reply.
    this.#before = this.#notifications.length;
    clearTimeout(this.#waiting?.timer);
    this.#waiting?.resolve(message);
    this.#waiting = undefined;
  }

  #fail(why) {
    if (this.#waiting) {
      clearTimeout(this.#waiting.timer);
      this.#waiting.reject(Object.assign(new NoAnswer(why), { sent: this.#waiting.text }));
      this.#waiting = undefined;
    }
    this.close();
  }
}
