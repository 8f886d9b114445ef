// The random caller, each method on a host of its own: nothing that it hears is wrong, and what the
// description tells of does happen.

import { Caller } from '@ostrel/conform/caller.js';
import assert from 'node:assert/strict';
import test from 'node:test';
import { description, server } from './description.js';
import { converse } from '../support/host.js';

const seed = Number(process.env.OSTREL_SEED ?? 1);
const callsOfEach = 1000;
const mixedCalls = 2000;
/** Errors that one WebSocket does not bring about: the service is full, it is called by POST, another sets the clock. */
const beyondOne = ['ServiceFull', 'InvalidRequest', 'StepCut'];

/** How often replies came out in which way. */
class Count {
  #outcomes = new Map();

  add(method, { error }) {
    const outcome = error === undefined ? 'result' : description.nameOfError(method, error);
    this.#outcomes.set(outcome, (this.#outcomes.get(outcome) ?? 0) + 1);
  }

  has(outcome) {
    return this.#outcomes.has(outcome);
  }

  toString() {
    return [...this.#outcomes].map(([outcome, times]) => `${outcome} ${times}`).join(', ');
  }
}

function assertFaultless({ method, params, reply, notifications, faults }) {
  assert.deepEqual(
    [...faults, ...notifications.flatMap((notification) => description.faultsOfNotification(notification))],
    [],
    `${method.name} ${JSON.stringify(params)}, with the seed ${seed}: ${JSON.stringify(reply)}`,
  );
}

for (const method of description.methods) {
  test(`${method.name}, ${callsOfEach} times`, async (t) => {
    const count = new Count();
    const caller = new Caller(description, seed);
    for await (const exchange of caller.call(await converse(t, server), method, callsOfEach)) {
      assertFaultless(exchange);
      count.add(method, exchange.reply);
    }
    t.diagnostic(`${count}`);
    const told = Object.keys(method['x-refused'] ?? {}).filter((name) => !beyondOne.includes(name));
    const expected = method.examples[0]['x-error'] ? told : ['result', ...told];
    assert.deepEqual(
      expected.filter((outcome) => !count.has(outcome)),
      [],
      'never came',
    );
  });
}

test(`all methods mixed, ${mixedCalls} calls and what is notified meanwhile`, async (t) => {
  const count = new Count();
  let heard = 0;
  const caller = new Caller(description, seed);
  for await (const exchange of caller.callMixed(await converse(t, server), description.methods, mixedCalls)) {
    assertFaultless(exchange);
    count.add(exchange.method, exchange.reply);
    heard += exchange.notifications.length;
  }
  assert(heard > 0, 'nothing was notified');
  t.diagnostic(`${count}; ${heard} notifications`);
});
