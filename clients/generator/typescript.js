// Makes TypeScript of the description: the records with what each method takes and gives, and, in a file of
// its own, a class of typed methods for each interface. What the description says of them is what editors show.

import { components, interfaces, methods, nameOf, notifications, openrpc, paramOf, rangeOf, reasonFor, resolve, valuesOf } from './description.js';

/** @typedef {import('./description.js').Schema} Schema  @typedef {import('./description.js').Method} Method */

const { schemas } = openrpc.components;
const { errors } = components;

/** Methods are called as `tv.service.NAME()`, notifications heard by their names without "on".
 * @param {string} name */
export const shortName = (name) => name.split('::')[1];
/** @param {string} name */
export const eventName = (name) => name.replace(/^.*::on(.)/, (_, first) => first.toLowerCase());

/** Names of the wire become those of this library, which can be typed, and those of methods lead there.
 * @param {string} text */
const localized = (text) =>
  text
    .replaceAll(/`((?:ITV\w+|Simulator)::on\w+)`/g, (_, name) => `\`${eventName(name)}\``)
    .replaceAll(/`(ITV\w+)::(\w+)`/g, '{@link $1.$2 | $2}')
    .replaceAll(/`Simulator::(\w+)`/g, '{@link SimulatorMethods.$1 | $1}')
    .replaceAll('*/', '*\\/');

/** Returns a doc comment. @param {(string | undefined)[]} paragraphs  @param {string} indent */
export function comment(paragraphs, indent) {
  const lines = paragraphs.filter((text) => text).join('\n\n').split('\n');
  const text = lines.map(localized);
  if (text.length === 1) return `${indent}/** ${text[0]} */\n`;
  return `${indent}/**\n${text.map((line) => `${indent} * ${line}`.trimEnd()).join('\n')}\n${indent} */\n`;
}

/** What a schema says of a value, in paragraphs. @param {Schema} schema */
function explain(schema) {
  const range = rangeOf(schema);
  const facts = [
    schema['x-unit'] && `Unit: ${schema['x-unit']}.`,
    range && !['unsigned', 'int'].includes(range) && `Range: ${range}.`,
    schema.maxItems && `At most ${schema.maxItems}.`,
    schema.default !== undefined && `Default: ${JSON.stringify(schema.default)}.`,
  ];
  return [
    schema.description,
    valuesOf(schema).map(({ value, meaning }) => `- \`${JSON.stringify(value)}\` ${meaning}`).join('\n'),
    facts.filter(Boolean).join(' '),
    schema.deprecated && '@deprecated',
  ];
}

const simple = { integer: 'number', number: 'number', string: 'string', boolean: 'boolean', null: 'null' };

/** Returns the type of a schema's values. @param {Schema} schema  @param {string} indent  @returns {string} */
export function typeOf(schema, indent = '') {
  if (schema.$ref !== undefined) return nameOf(/** @type {any} */ (schema));
  if (schema.const !== undefined) return JSON.stringify(schema.const);
  if (schema.oneOf !== undefined) return schema.oneOf.map((/** @type {Schema} */ choice) => typeOf(choice, indent)).join(' | ');
  if (schema.type === 'array' && schema.minItems === 2 && schema.maxItems === 2)
    return `[${typeOf(schema.items)}, ${typeOf(schema.items)}]`;
  if (schema.type === 'array') return `Array<${typeOf(schema.items, indent)}>`;
  if (schema.type === 'object') return `{\n${members(schema, `${indent}  `)}${indent}}`;
  return [schema.type].flat().map((type) => simple[/** @type {keyof simple} */ (type)]).join(' | ');
}

/** @param {Schema} schema  @param {string} indent */
function members(schema, indent) {
  return Object.entries(schema.properties ?? {})
    .map(([name, member]) => {
      const optional = schema.required?.includes(name) ? '' : '?';
      const said = comment(explain(member.description ? member : resolve(member)), indent);
      return `${said}${indent}${name}${optional}: ${typeOf(member, indent)};\n`;
    })
    .join('');
}

/** @param {[string, Schema]} entry */
export function record([name, schema]) {
  const said = comment(explain(schema), '');
  if (schema.type === 'object') return `${said}export interface ${name} ${typeOf(schema)}\n`;
  return `${said}export type ${name} = ${typeOf(schema)};\n`;
}

/** The payload that a caller gives; undefined where there is nothing to give. @param {Method} method */
function payloadOf(method) {
  const schema = paramOf(method, 'payload');
  return schema?.properties === undefined ? undefined : schema;
}

/** @param {string} text */
export const capitalized = (text) => text[0].toUpperCase() + text.slice(1);
/** @param {Method} method */
const payloadName = (method) => `${capitalized(shortName(method.name))}Payload`;

/** @param {Method} method */
function payloadRecord(method) {
  const schema = payloadOf(method);
  return schema && `/** What {@link ${method.name.replace('::', '.')}} takes. */\nexport interface ${payloadName(method)} ${typeOf(schema)}\n`;
}

/** @param {string} error */
const nameOnTheWire = (error) => resolve(errors[error].data ?? {}).properties?.name.const ?? error;

/** What editors show of a method. @param {Method} method */
export function methodComment(method) {
  const { description: result, 'x-unit': unit } = method.result.schema;
  const returned = result || unit ? [`@returns ${result ?? unit}`] : [];
  const thrown = Object.keys(method['x-refused'] ?? {}).map(
    (error) => `@throws {ServiceError} \`${nameOnTheWire(error)}\`: ${reasonFor(method, error)}`,
  );
  return comment([`${method.summary}.`, method.description, [...returned, ...thrown].join('\n')], '  ');
}

/** @param {Method} method */
function typedMethod(method) {
  const payload = payloadOf(method);
  const parameter = payload === undefined ? '' : `payload: ${payloadName(method)}, `;
  const argument = payload !== undefined ? 'payload' : paramOf(method, 'payload') ? '{}' : 'undefined';
  return `${methodComment(method)}  ${shortName(method.name)}(${parameter}options?: CallOptions): Promise<${typeOf(method.result.schema, '  ')}> {
    return this.tv.call('${method.name}', ${argument}, options);
  }\n`;
}

/** @param {[string, Method[]]} entry */
const typedInterface = ([name, list]) => `/** The methods of \`${name}\`, by the wire's own names. */
export class ${name}<T extends Caller = Caller> {
  constructor(protected readonly tv: T) {}

${list.map(typedMethod).join('\n')}}
`;

/** @param {Method} method */
function methodEntry(method) {
  const payload = payloadOf(method);
  const type = payload ? payloadName(method) : paramOf(method, 'payload') ? 'object' : 'undefined';
  return `${comment([`${method.summary}.`], '  ')}  '${method.name}': { payload: ${type}; result: ${typeOf(method.result.schema, '  ')} };\n`;
}

/** @param {Method} method */
function notificationEntry(method) {
  const params = typeOf(paramsSchema(method), '  ');
  return `${comment([`${method.summary}.`, method.description], '  ')}  ${eventName(method.name)}: ${params};\n`;
}

/** Returns the shape of a schema's values, by which what arrives is checked. Values that are listed are taken
 * for their kind: a later service may know more of them. @param {Schema} schema  @returns {string} */
export function shapeOf(schema) {
  if (schema.$ref !== undefined) return shapeOf(resolve(schema));
  if (schema.type === 'array') return `[${shapeOf(schema.items)}]`;
  if (schema.type !== 'object') return `'${[schema.type].flat().join('|')}'`;
  return `{ ${schema.required.map((/** @type {string} */ name) => `${name}: ${shapeOf(schema.properties[name])}`).join(', ')} }`;
}

/** @param {Method} method */
export const paramsSchema = ({ params }) => ({
  type: 'object',
  required: params.filter((/** @type {any} */ param) => param.required).map((/** @type {any} */ param) => param.name),
  properties: Object.fromEntries(params.map((/** @type {any} */ { name, schema }) => [name, schema])),
});

const resultCodes = Object.values(errors)
  .map(({ data }) => data && resolve(data).properties)
  .filter((properties) => properties?.returnCode);
const withoutData = Object.entries(errors).filter(([, { data }]) => data === undefined);
const errorNames = new Set([...resultCodes.map(({ name }) => name.const), ...withoutData.map(([name]) => name)]);
const contextless = methods.filter((method) => paramOf(method, 'context') === undefined);

const head = '// SPDX-License-Identifier: Apache-2.0\n\n// Made from TV/interfaces/openrpc.json by clients/generator. Changes belong there.';

export const typescript = () => `${head}

import type { Shape } from '../Shape.js';

${Object.entries(schemas).map(record).join('\n')}
${methods.map(payloadRecord).filter(Boolean).join('\n')}
/** What each method takes as payload and gives as result. */
export interface Methods {
${methods.map(methodEntry).join('\n')}}

/** What the service tells by itself, each with what it carries. */
export interface Notifications {
${notifications.map(notificationEntry).join('\n')}}

/** How an error of the service is called. */
export type ErrorName =
${[...errorNames].map((name) => `  | '${name}'`).join('\n')};

/** The names of errors that have no result code, by the code they travel with. */
export const errorNames: Readonly<Record<number, ErrorName>> = {
${withoutData.map(([name, { code }]) => `  [${code}]: '${name}',`).join('\n')}
};

/** The methods that take no context. */
export const contextless: readonly string[] = [${contextless.map(({ name }) => `'${name}'`).join(', ')}];

/** The shape of each method's result. */
export const results: Readonly<Record<string, Shape>> = {
${methods.map(({ name, result }) => `  '${name}': ${shapeOf(result.schema)},`).join('\n')}
};

/** The event that each notification becomes, and the shape of what it carries. */
export const notifications: Readonly<Record<string, readonly [event: string, params: Shape]>> = {
${notifications.map((method) => `  '${method.name}': ['${eventName(method.name)}', ${shapeOf(paramsSchema(method))}],`).join('\n')}
};

/** The shape of a {@link Programme}. */
export const programme: Shape = ${shapeOf(schemas.Programme)};
`;

/** @param {string} text */
const usedIn = (text) =>
  [...Object.keys(schemas), ...methods.filter(payloadOf).map(payloadName)].filter((name) => new RegExp(`[ <]${name}\\b`).test(text));

export function typescriptInterfaces() {
  const classes = [...interfaces].map(typedInterface).join('\n');
  return `${head}

import type { Caller, CallOptions } from '../call.js';
import type { ${usedIn(classes).join(', ')} } from './description.js';

${classes}`;
}
