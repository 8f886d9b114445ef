// All checks, against one server.

import { Caller } from './caller.js';
import { NoAnswer } from './conversation.js';
import { contextFor, exampleParams, runExample } from './examples.js';
import { Findings } from './findings.js';
import { isToldBefore } from './scans.js';

/** What JSON-RPC itself wants: messages to a server with some method, and the error and the id that come back. */
const messagesTo = (method) => [
  { sent: '{"jsonrpc":"2.0","id":1,', error: 'ParseError', id: null },
  { sent: '[]', error: 'InvalidRequest', id: null },
  { sent: '7', error: 'InvalidRequest', id: null },
  { sent: `{"jsonrpc":"1.0","id":"a","method":"${method}"}`, error: 'InvalidRequest', id: 'a' },
  { sent: `{"jsonrpc":"2.0","id":"b","method":"${method}NoMore"}`, error: 'MethodNotFound', id: 'b' },
  {
    // What has no id is not replied.
    sent: `[{"jsonrpc":"2.0","method":"${method}NoMore"},{"jsonrpc":"2.0","id":"c","method":"nobody"}]`,
    error: 'MethodNotFound',
    id: 'c',
    isBatch: true,
  },
];
const protocol = 'JSON-RPC 2.0';

/** What examples begin after: they are of a box that does not scan, or of a simulation that nobody has changed. */
const settling = ['ITVConfig::scanStop', 'Simulator::reset'];

/**
 * @typedef {object} Options
 * @property {number} calls       how often the random caller calls each method
 * @property {number} seed        of what it says
 * @property {boolean} simulator  whether examples give exactly what the description shows
 * @property {(what: string) => void} progress  told what is looked at now
 */

/** One run of all checks. */
export class Conformance {
  #connect;
  #description;
  #options;
  #conversation;
  #silent = new Set(); // names of methods that do not answer

  /**
   * @param {() => Promise<import('./conversation.js').Conversation>} connect
   * @param {import('./description.js').Description} description
   * @param {Options} options
   */
  constructor(connect, description, options) {
    this.#connect = connect;
    this.#description = description;
    this.#options = options;
    const described = [...description.methods, ...description.notifications].map(({ name }) => name);
    this.findings = new Findings([protocol, ...described]);
  }

  /**
   * Runs them.
   * @throws {Error}  the server is gone; the findings so far are there
   */
  async run() {
    const { calls, seed, simulator, progress } = this.#options;
    const { methods } = this.#description;
    const caller = new Caller(this.#description, seed);
    this.#conversation = await this.#connect();
    try {
      progress(protocol);
      await this.#try(() => this.#checkMessages());
      for (const [index, method] of methods.entries()) {
        progress(`${method.name}, ${index + 1} of ${methods.length}`);
        await this.#settle();
        if (!this.#canCall(method)) continue;
        await this.#try(async () => {
          const exchange = await runExample(this.#conversation, this.#description, method, simulator);
          this.#note({ method, ...exchange });
          await this.#noteAll(caller.call(this.#conversation, method, calls));
        });
      }
      progress('all methods mixed');
      const answering = methods.filter((method) => this.#canCall(method));
      if (answering.length > 0)
        await this.#try(() => this.#noteAll(caller.callMixed(this.#conversation, answering, 2 * calls)));
      await this.#settle();
    } finally {
      this.#conversation.close();
    }
  }

  /** Whether the method and those that its example needs do answer. */
  #canCall(method) {
    const needed = [...(method.examples[0]['x-after'] ?? []), method.name];
    if (this.#description.takesContext(method)) needed.push('ITVService::createContext');
    return !needed.some((name) => this.#silent.has(name));
  }

  /** Does what may find a server silent, and then goes on in a new conversation. */
  async #try(work) {
    try {
      await work();
    } catch (error) {
      if (!(error instanceof NoAnswer)) throw error;
      this.#noteSilence(error);
      this.#conversation = await this.#connect();
    }
  }

  #noteSilence({ sent, message }) {
    let name = protocol;
    try {
      name = [JSON.parse(sent)].flat()[0].method;
      this.#silent.add(name);
    } catch {
      // It was none of a method.
    }
    this.findings.add(name, { check: 'answers', expected: 'an answer' }, sent, message);
  }

  async #settle() {
    for (const method of this.#description.methods) {
      if (!settling.includes(method.name) || !this.#canCall(method)) continue;
      await this.#try(async () => {
        const context = await contextFor(this.#conversation, this.#description, method);
        await this.#conversation.ask(this.#conversation.request(method.name, exampleParams(method, context)));
      });
    }
  }

  async #checkMessages() {
    for (const { sent, error, id, isBatch = false } of messagesTo(this.#description.methods[0].name)) {
      const answer = await this.#conversation.askText(sent);
      const [reply, ...others] = [answer].flat();
      this.findings.look(protocol, 'answers');
      this.findings.look(protocol, 'errors');
      if (Array.isArray(answer) !== isBatch || others.length > 0 || reply?.id !== id || reply?.jsonrpc !== '2.0') {
        const expected = `one reply${isBatch ? ', in an array,' : ''} with the id ${JSON.stringify(id)}`;
        this.findings.add(protocol, { check: 'answers', expected }, sent, answer);
      } else if (this.#description.nameOfError(undefined, reply.error) !== error) {
        this.findings.add(protocol, { check: 'errors', expected: error }, sent, answer);
      }
    }
  }

  async #noteAll(exchanges) {
    for await (const exchange of exchanges) this.#note(exchange);
  }

  /** @param {import('./caller.js').Exchange} exchange */
  #note({ method, params, reply, notifications, faults }) {
    const { findings } = this;
    findings.look(method.name, 'answers');
    const { result, error } = Object(reply);
    if (result !== undefined) findings.look(method.name, 'schema');
    if (error !== undefined) findings.look(method.name, 'errors');
    if (isToldBefore(method, reply)) findings.look(method.name, 'notifications');
    const came = result === undefined && error === undefined ? reply : { result, error };
    for (const fault of faults) findings.add(method.name, fault, params, came);

    for (const notification of notifications) {
      findings.look(notification.method, 'notifications');
      for (const fault of this.#description.faultsOfNotification(notification))
        findings.add(notification.method, fault, undefined, notification);
    }
  }
}
