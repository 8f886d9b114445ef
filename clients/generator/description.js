// The descriptions of the servers as the generators read them.

import { readFileSync } from 'node:fs';
import { isDeepStrictEqual } from 'node:util';

/**
 * @typedef {Record<string, any>} Schema  a JSON Schema of the description
 * @typedef {Record<string, any>} Method  a method or notification of the description
 */

/** @param {string} path */
const read = (path) => JSON.parse(readFileSync(new URL(`../../${path}`, import.meta.url), 'utf8'));

/** What the server `TV` speaks, and what `Simulator` does. */
export const openrpc = read('TV/interfaces/openrpc.json');
export const simulator = read('simulator/openrpc.json');

/** What both refer to. @type {Record<string, Record<string, any>>} */
export const components = structuredClone(openrpc.components);
for (const [kind, entries] of Object.entries(simulator.components))
  for (const [name, value] of Object.entries(/** @type {Record<string, any>} */ (entries))) {
    if (components[kind][name] && !isDeepStrictEqual(components[kind][name], value))
      throw new Error(`the descriptions mean different things by ${kind}/${name}`);
    components[kind][name] = value;
  }

/** @param {{ $ref: string }} reference  @returns {string} */
export const nameOf = (reference) => reference.$ref.slice(reference.$ref.lastIndexOf('/') + 1);

/** Returns what a reference stands for; what is none stands for itself. @param {any} value */
export function resolve(value) {
  if (value.$ref === undefined) return value;
  return value.$ref
    .slice(2)
    .split('/')
    .reduce((/** @type {any} */ part, /** @type {string} */ name) => part[name], { components });
}

/** @param {Method} method */
const isNotification = (method) => (method.tags ?? []).some((/** @type {any} */ tag) => nameOf(tag) === 'notification');

/** What clients call of a server, and what it sends by itself. @param {{ methods: Method[] }} document */
const split = (document) => ({
  methods: document.methods.filter((method) => !isNotification(method)),
  notifications: document.methods.filter(isNotification),
});
export const { methods, notifications } = split(openrpc);
export const { methods: simulatorMethods, notifications: simulatorNotifications } = split(simulator);

/** The methods by interface, in the order of the description. @type {Map<string, Method[]>} */
export const interfaces = new Map();
for (const method of methods) {
  const [name] = method.name.split('::');
  interfaces.set(name, [...(interfaces.get(name) ?? []), method]);
}

/** Returns the schema of one of a method's params, undefined where it has none of that name.
 * @param {Method} method  @param {string} name  @returns {Schema | undefined} */
export const paramOf = (method, name) => method.params.map(resolve).find((/** @type {any} */ param) => param.name === name)?.schema;

/** @type {[string, number, number][]} */
const wholeRanges = [
  ['unsigned', 0, 4294967295],
  ['int', -2147483648, 2147483647],
];

/** Returns the range of a number for people, `unsigned` and `int` for all that 32 bits hold.
 * @param {Schema} schema  @returns {string | undefined} */
export function rangeOf({ minimum, maximum }) {
  if (minimum === undefined) return undefined;
  const whole = wholeRanges.find(([, least, most]) => minimum === least && maximum === most);
  return whole?.[0] ?? `${minimum} to ${maximum}`;
}

/** Returns the values that a schema lists, with what each means. @param {Schema} schema
 * @returns {{ value: unknown, meaning: string }[]} */
export const valuesOf = (schema) =>
  (schema.oneOf ?? [])
    .filter((/** @type {Schema} */ choice) => choice.const !== undefined)
    .map((/** @type {Schema} */ choice) => ({
      value: choice.const,
      meaning: [choice.title, choice.description].filter(Boolean).join(': '),
    }));

/** Returns when a method answers an error of its own. @param {Method} method  @param {string} error */
export const reasonFor = (method, error) => /** @type {string} */ (method['x-refused'][error]);
