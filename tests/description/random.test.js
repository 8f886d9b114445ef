// A caller who says anything: what the description allows, what it only just allows, and what it
// does not. Whatever is answered is as described, and what is refused as a parameter is just what
// the schemas refuse.

import assert from 'node:assert/strict';
import test from 'node:test';
import {
  faultsOfNotification,
  faultsOfReply,
  methods,
  nameOfError,
  paramsOf,
  paramsSchemaOf,
  resolve,
  validatorOf,
} from './description.js';
import { exampleParams, prepare } from './examples.js';
import { Host } from './host.js';
import { Values } from './values.js';

const seed = Number(process.env.OSTREL_SEED ?? 1);
const callsOfEach = 1000;
const batch = 100;
const mixedCalls = 2000;

/** The schema without its choices: what must be met for a parameter to be decoded. */
function withoutChoices(schema) {
  return JSON.parse(JSON.stringify(schema, (name, value) => (name === 'oneOf' ? undefined : resolve(value))));
}

/** Whether the decoder takes these params, as far as schemas tell. */
class Decoder {
  #validate;

  constructor(method) {
    this.#validate = validatorOf(withoutChoices(paramsSchemaOf(method)));
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
const decoders = new Map(methods.map((method) => [method, new Decoder(method)]));

/** Makes params of a method, with one of these contexts more often than not. */
function makeParams(values, method, contexts) {
  if (values.chance(0.02)) return values.pick([undefined, [], [1]]);
  const params = {};
  for (const { name, schema } of paramsOf(method)) {
    if (values.chance(0.02)) continue;
    params[name] = name === 'context' && values.chance(0.95) ? values.pick(contexts) : values.of(schema);
  }
  if ('payload' in params && values.chance(0.15))
    params.payload = values.chance(0.9) ? JSON.stringify(params.payload) : values.pick(['', '{', 'null', '{"a":}']);
  return params;
}

/** Returns what is wrong with the reply to such a call. */
function faultsOfAnswer(method, params, contexts, reply) {
  const faults = faultsOfReply(method, reply);
  const taken = decoders.get(method).takes(params);
  const isContext = method.name === 'ITVService::createContext' || contexts.includes(params?.context);
  const refused = reply.error?.code === -32602;
  if (taken && refused) faults.push('refuses what its schema allows');
  if (!taken && !reply.error) faults.push('takes what its schema does not allow');
  if (!taken && isContext && !refused) faults.push('does not say that a parameter is wrong');
  if (taken && !isContext && reply.error?.data?.member !== 'context')
    faults.push('does not say that the context is gone');
  return faults.map((fault) => `${method.name} ${JSON.stringify(params)}: ${fault}`);
}

/** How often replies came out in which way. */
class Count {
  #outcomes = new Map();

  add(method, { error }) {
    const outcome = error === undefined ? 'result' : nameOfError(method, error);
    this.#outcomes.set(outcome, (this.#outcomes.get(outcome) ?? 0) + 1);
  }

  has(outcome) {
    return this.#outcomes.has(outcome);
  }

  toString() {
    return [...this.#outcomes].map(([outcome, times]) => `${outcome} ${times}`).join(', ');
  }
}

async function makeContexts(host) {
  const requests = Array.from({ length: batch }, () => host.request('ITVService::createContext'));
  return (await host.ask(requests)).map(({ result }) => result);
}

for (const method of methods) {
  test(`${method.name}, ${callsOfEach} times`, async (t) => {
    const host = await Host.start(t);
    const values = new Values(seed);
    const count = new Count();
    const deletes = method.name === 'ITVService::deleteContext';
    // At first nothing has been done in the context; then what the method's example builds upon.
    let contexts = [await host.makeContext()];
    for (let made = 0; made < callsOfEach; made += batch) {
      if (made > 0) contexts = deletes ? await makeContexts(host) : [...contexts, await prepare(host, method)];
      const requests = Array.from({ length: batch }, () =>
        host.request(method.name, makeParams(values, method, contexts)),
      );
      const replies = await host.ask(requests);
      assert.deepEqual(
        replies.map(({ id }) => id),
        requests.map(({ id }) => id),
      );
      const faults = replies.flatMap((reply, index) => {
        const { params } = requests[index];
        const wrong = faultsOfAnswer(method, params, contexts, reply);
        count.add(method, reply);
        if (deletes && 'result' in reply) contexts = contexts.filter((context) => context !== params.context);
        return wrong;
      });
      assert.deepEqual(faults, [], `with the seed ${seed}`);
    }
    t.diagnostic(`${count}`);
    // What the description tells of does happen; nobody fills the service here.
    const told = Object.keys(method['x-refused'] ?? {}).filter((name) => name !== 'ServiceFull');
    const expected = method.examples[0]['x-error'] ? told : ['result', ...told];
    assert.deepEqual(
      expected.filter((outcome) => !count.has(outcome)),
      [],
      'never came',
    );
  });
}

test(`all methods mixed, ${mixedCalls} calls and what is notified meanwhile`, async (t) => {
  const host = await Host.start(t);
  const values = new Values(seed);
  const count = new Count();
  const heard = { notifications: 0, starts: 0 };
  let contexts = [];
  for (let made = 0; made < mixedCalls; ++made) {
    if (contexts.length < 2) contexts.push(await host.makeContext());
    const method = values.pick(methods);
    const params = values.chance(0.3) && !method.examples[0]['x-error']
      ? exampleParams(method, values.pick(contexts))
      : makeParams(values, method, contexts);
    const reply = await host.ask(host.request(method.name, params));
    const notifications = host.takeNotifications();
    count.add(method, reply);
    const faults = [
      ...faultsOfAnswer(method, params, contexts, reply),
      ...notifications.flatMap(faultsOfNotification),
    ];
    heard.notifications += notifications.length;
    if (['ITVConfig::scanBlindStart', 'ITVConfig::scanStart'].includes(method.name) && reply.result === true) {
      ++heard.starts;
      const told = notifications.map(({ method: name, params: { percent } }) => `${name} ${percent}`).join();
      if (!told.includes('ITVConfig::onScanStart undefined,ITVConfig::onScanProgress 0'))
        faults.push(`${method.name} is answered before its start is told`);
    }
    assert.deepEqual(faults, [], `with the seed ${seed}`);
    if (method.name === 'ITVService::deleteContext' && 'result' in reply)
      contexts = contexts.filter((context) => context !== params.context);
  }
  assert(heard.starts > 0, 'no scan was started');
  t.diagnostic(`${count}; ${heard.notifications} notifications, ${heard.starts} starts`);
});
