// Every example of the description, sent to a host of its own, gives what the description shows.

import { exampleParams, runExample } from '@ostrel/conform/examples.js';
import assert from 'node:assert/strict';
import test from 'node:test';
import { description } from './description.js';
import { converse } from '../support/host.js';

for (const method of description.methods) {
  test(`${method.name}: ${method.examples[0].name}`, async (t) => {
    const { reply, faults } = await runExample(await converse(t), description, method, true);
    assert.deepEqual(faults, [], JSON.stringify(reply));
  });
}

test('notifications, as a scan raises them that is stopped at once', async (t) => {
  const conversation = await converse(t);
  const context = await conversation.makeContext();
  for (const name of ['ITVConfig::scanBlindStart', 'ITVConfig::scanStop'])
    await conversation.ask(conversation.request(name, exampleParams(description.findMethod(name), context)));
  // On a slow machine it may have got on by a percent.
  const expected = description.notifications.map((method) => ({
    jsonrpc: '2.0',
    method: method.name,
    params: exampleParams(method),
  }));
  const heard = conversation.takeNotifications().filter(({ params }) => !(params.percent > 0));
  assert.deepEqual(heard, expected);
});
