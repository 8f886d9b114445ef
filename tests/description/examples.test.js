// Every example of the description, sent to a host of its own, gives what the description shows.

import assert from 'node:assert/strict';
import test from 'node:test';
import { faultsOfReply, findMethod, methods, notifications } from './description.js';
import { exampleParams, prepare } from './examples.js';
import { Host } from './host.js';

/** The value without what is different each time. */
function still(value, varies) {
  if (varies === true) return null;
  return JSON.stringify(value, (name, member) => (varies?.includes(name) ? null : member));
}

for (const method of methods) {
  test(`${method.name}: ${method.examples[0].name}`, async (t) => {
    const host = await Host.start(t);
    const context = await prepare(host, method);
    const reply = await host.ask(host.request(method.name, exampleParams(method, context)));
    assert.deepEqual(faultsOfReply(method, reply), []);

    const { result, 'x-error': error } = method.examples[0];
    if (error !== undefined) return assert.deepEqual(reply.error, error);
    // As texts, so that the order of members counts.
    const varies = result['x-varies'];
    assert.equal(still(reply.result, varies), still(result.value, varies));
  });
}

test('notifications, as a scan raises them that is stopped at once', async (t) => {
  const host = await Host.start(t);
  const context = await host.makeContext();
  for (const name of ['ITVConfig::scanBlindStart', 'ITVConfig::scanStop'])
    await host.ask(host.request(name, exampleParams(findMethod(name), context)));
  // On a slow machine it may have got on by a percent.
  const expected = notifications.map((method) => ({
    jsonrpc: '2.0',
    method: method.name,
    params: exampleParams(method),
  }));
  const heard = host.takeNotifications().filter(({ params }) => !(params.percent > 0));
  assert.deepEqual(heard, expected);
});
