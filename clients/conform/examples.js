// The examples of a description as calls.

import { faultsOfOrder } from './scans.js';

/** Returns the params of a method's example, for a context that is there. */
export function exampleParams(method, context) {
  const params = method.examples[0].params.map(({ name, value }) => [name, name === 'context' ? context : value]);
  return params.length === 0 ? undefined : Object.fromEntries(params);
}

/** Makes a context, if one of these methods is called in one. */
export async function contextFor(conversation, description, ...methods) {
  return methods.some((method) => description.takesContext(method)) ? conversation.makeContext() : undefined;
}

/** Sends the examples that come before that of a method or notification, and returns the context for it, if any. */
export async function prepare(conversation, description, method) {
  const earlier = (method.examples[0]['x-after'] ?? []).map((name) => description.findMethod(name));
  const context = await contextFor(conversation, description, ...earlier, method);
  for (const one of earlier) await conversation.ask(conversation.request(one.name, exampleParams(one, context)));
  return context;
}

/** The value as a text, so that the order of members counts, without what is different each time. */
export function still(value, varies) {
  if (varies === true) return 'anything';
  return JSON.stringify(value, (name, member) => (varies?.includes(name) ? null : member));
}

/**
 * Sends the example of a method, and those before it, in a context of its own.
 * @param {boolean} exactly  whether the answer is the one of the description, rather than one of its kind
 * @returns {Promise<{params: object, reply: object, notifications: object[],
 *     faults: import('./description.js').Fault[]}>}
 */
export async function runExample(conversation, description, method, exactly) {
  const params = exampleParams(method, await prepare(conversation, description, method));
  const earlier = conversation.takeNotifications();
  const reply = await conversation.ask(conversation.request(method.name, params));
  const notifications = conversation.takeNotifications();
  const faults = [
    ...description.faultsOfReply(method, reply),
    ...faultsOfOrder(method, reply, notifications),
  ];

  const { result, 'x-error': error } = method.examples[0];
  const expected = error ? still({ error }) : still({ result: result.value }, result['x-varies']);
  const came = reply?.error ? still({ error: reply.error }) : still({ result: reply?.result }, result?.['x-varies']);
  if (exactly && faults.length === 0 && came !== expected) faults.push({ check: 'answers', expected });
  return { params, reply, notifications: [...earlier, ...notifications], faults };
}
