// Every example of the description, sent to a host of its own, gives what the description shows.

import { exampleParams, prepare, runExample, still } from '@ostrel/conform/examples.js';
import assert from 'node:assert/strict';
import test from 'node:test';
import { description, server } from './description.js';
import { converse } from '../support/host.js';

for (const method of description.methods) {
  test(`${method.name}: ${method.examples[0].name}`, async (t) => {
    const { reply, faults } = await runExample(await converse(t, server), description, method, true);
    assert.deepEqual(faults, [], JSON.stringify(reply));
  });
}

for (const notification of description.notifications.filter(({ examples: [example] }) => example['x-after'])) {
  test(`${notification.name}: ${notification.examples[0].name}`, async (t) => {
    const conversation = await converse(t, server);
    await prepare(conversation, description, notification);
    const heard = conversation.takeNotifications().filter(({ method }) => method === notification.name);
    const expected = { jsonrpc: '2.0', method: notification.name, params: exampleParams(notification) };
    const { 'x-varies': varies } = notification.examples[0];
    assert.equal(still(heard[0], varies), still(expected, varies));
  });
}
