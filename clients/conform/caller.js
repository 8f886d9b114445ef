// A caller who says anything: what the description allows, what it only just allows, and what it
// does not. Whatever is answered is as described, and what is refused as a parameter is just what
// the schemas refuse.

import { contextFor, exampleParams, prepare } from './examples.js';
import { faultsOfOrder } from './scans.js';
import { Values } from './values.js';

const largestBatch = 100;

/** Whether the decoder takes params, as far as schemas tell. */
class Decoder {
  #validate;

  constructor(description, method) {
    let schema = description.paramsSchemaOf(method);
    // Where what is not described is ignored, choices are the method's to look at, by an error of its own.
    if (schema.additionalProperties !== false)
      schema = JSON.parse(
        JSON.stringify(schema, (name, value) => (name === 'oneOf' ? undefined : description.resolve(value))),
      );
    this.#validate = description.validatorOf(schema);
  }

  takes(params) {
    if (params === undefined || (Array.isArray(params) && params.length === 0)) params = {};
    if (typeof params.payload !== 'string') return this.#validate(params);
    try {
      return this.#validate({ ...params, payload: JSON.parse(params.payload) });
    } catch {
      return false;
    }
  }
}

async function makeContexts(conversation) {
  const requests = Array.from({ length: largestBatch }, () => conversation.request('ITVService::createContext'));
  return (await conversation.ask(requests)).map(({ result }) => result);
}

/**
 * What was said, what was answered, and what is wrong with that.
 * @typedef {object} Exchange
 * @property {object} method  of the description
 * @property {*} params
 * @property {object} reply
 * @property {object[]} notifications  those that came before the reply, and after the previous one
 * @property {import('./description.js').Fault[]} faults
 */

export class Caller {
  #description;
  #values;
  #decoders;

  /** The same seed says the same. */
  constructor(description, seed) {
    this.#description = description;
    this.#values = new Values(description, seed);
    this.#decoders = new Map(description.methods.map((method) => [method, new Decoder(description, method)]));
  }

  /**
   * Calls one method so many times, in batches.
   * @returns {AsyncGenerator<Exchange>}
   */
  async *call(conversation, method, calls) {
    const deletes = method.name === 'ITVService::deleteContext';
    // At first nothing has been done in the context; then what the method's example builds upon.
    let contexts = [await contextFor(conversation, this.#description, method)];
    for (let made = 0; made < calls; made += largestBatch) {
      if (made > 0)
        contexts = deletes
          ? await makeContexts(conversation)
          : [...contexts, await prepare(conversation, this.#description, method)];
      const requests = Array.from({ length: Math.min(largestBatch, calls - made) }, () =>
        conversation.request(method.name, this.#makeParams(method, contexts)),
      );
      const replies = await conversation.ask(requests);
      let notifications = conversation.takeNotifications();
      for (const [index, { id, params }] of requests.entries()) {
        const reply = Array.isArray(replies) ? replies[index] : replies;
        const faults =
          reply?.id === id
            ? this.#faultsOfAnswer(method, params, contexts, reply)
            : [{ check: 'answers', expected: 'a reply to each request of a batch, in their order' }];
        yield { method, params, reply, notifications, faults };
        notifications = [];
        if (deletes && 'result' in Object(reply)) contexts = contexts.filter((context) => context !== params?.context);
      }
    }
  }

  /**
   * Calls so many times one or another of these methods.
   * @returns {AsyncGenerator<Exchange>}
   */
  async *callMixed(conversation, methods, calls) {
    const values = this.#values;
    const areNeeded = methods.some((method) => this.#description.takesContext(method));
    let contexts = [];
    for (let made = 0; made < calls; ++made) {
      if (areNeeded && contexts.length < 2) contexts.push(await conversation.makeContext());
      const method = values.pick(methods);
      const params =
        values.chance(0.3) && !method.examples[0]['x-error']
          ? exampleParams(method, values.pick(contexts))
          : this.#makeParams(method, contexts);
      const reply = await conversation.ask(conversation.request(method.name, params));
      const notifications = conversation.takeNotifications();
      const faults = [
        ...this.#faultsOfAnswer(method, params, contexts, reply),
        ...faultsOfOrder(method, reply, notifications),
      ];
      yield { method, params, reply, notifications, faults };
      if (method.name === 'ITVService::deleteContext' && 'result' in reply)
        contexts = contexts.filter((context) => context !== params?.context);
    }
  }

  /** Makes params of a method, with one of these contexts more often than not. */
  #makeParams(method, contexts) {
    const values = this.#values;
    if (values.chance(0.02)) return values.pick([undefined, [], [1]]);
    const params = {};
    for (const { name, schema, required } of this.#description.paramsOf(method)) {
      if (values.chance(required ? 0.02 : 0.4)) continue;
      params[name] = name === 'context' && values.chance(0.95) ? values.pick(contexts) : values.of(schema);
    }
    if (values.chance(0.03)) params.noSuchParam = 1;
    if ('payload' in params && values.chance(0.15))
      params.payload = values.chance(0.9) ? JSON.stringify(params.payload) : values.pick(['', '{', 'null', '{"a":}']);
    return params;
  }

  /** Returns what is wrong with the reply to such a call. */
  #faultsOfAnswer(method, params, contexts, reply) {
    const faults = this.#description.faultsOfReply(method, reply);
    if (faults.some(({ check }) => check === 'answers')) return faults;
    const taken = this.#decoders.get(method).takes(params);
    const isContext = !this.#description.takesContext(method) || contexts.includes(params?.context);
    const refused = reply.error?.code === -32602;
    const expect = (expected) => faults.push({ check: 'errors', expected });
    if (taken && refused) expect('no refusal of what its schema allows');
    if (!taken && !reply.error) expect('a refusal of what its schema does not allow');
    if (!taken && isContext && reply.error && !refused) expect('-32602: a parameter is wrong');
    if (taken && !isContext && reply.error?.data?.member !== 'context')
      expect('an error whose data has the member "context": it is gone');
    return faults;
  }
}
