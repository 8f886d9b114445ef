// The examples of the description as calls.

import assert from 'node:assert/strict';
import { findMethod } from './description.js';

/** Returns the params of a method's example, for a context that is there. */
export function exampleParams(method, context) {
  const params = method.examples[0].params.map(({ name, value }) => [name, name === 'context' ? context : value]);
  return params.length === 0 ? undefined : Object.fromEntries(params);
}

/** Sends the examples that come before that of a method, and returns the context that they were given. */
export async function prepare(host, method) {
  const context = await host.makeContext();
  for (const name of method.examples[0]['x-after'] ?? []) {
    const reply = await host.ask(host.request(name, exampleParams(findMethod(name), context)));
    assert('result' in reply, `${name}, before ${method.name}: ${JSON.stringify(reply)}`);
  }
  return context;
}
