// Makes the reference for people of the descriptions, in Markdown.

import {
  components,
  interfaces,
  nameOf,
  notifications,
  openrpc,
  rangeOf,
  reasonFor,
  resolve,
  simulator,
  simulatorMethods,
  simulatorNotifications,
  valuesOf,
} from './description.js';

/** @typedef {import('./description.js').Schema} Schema  @typedef {import('./description.js').Method} Method */

const { schemas, errors } = components;

/** @param {string} heading  as it stands in the text, with its marks */
const anchorOf = (heading) => heading.toLowerCase().replaceAll(/[^\w -]/g, '').replaceAll(' ', '-');
/** @param {string} heading */
const link = (heading) => `[${heading}](#${anchorOf(heading)})`;

/** @param {string} text */
const cell = (text) => text.replaceAll('|', '\\|').replaceAll('\n', ' ').trim();
/** @param {string[]} heads  @param {string[][]} rows */
const table = (heads, rows) =>
  [heads, heads.map(() => '---'), ...rows].map((row) => `| ${row.map(cell).join(' | ')} |`).join('\n');

/** @param {unknown} value */
const code = (value) => `\`${JSON.stringify(value)}\``;

/** Returns the type of a value for people. @param {Schema} schema  @returns {string} */
function typeOf(schema) {
  if (schema.$ref !== undefined) return link(nameOf(/** @type {any} */ (schema)));
  if (schema.const !== undefined) return code(schema.const);
  if (schema.type === 'array') return `array of ${typeOf(schema.items)}${schema.maxItems ? `, at most ${schema.maxItems}` : ''}`;
  if (schema.type === undefined && schema.oneOf) return schema.oneOf.map(typeOf).join(' or ');
  const range = rangeOf(schema);
  /** @type {Record<string, string>} */
  const ranged = { integer: valuesOf(schema).length ? 'integer' : (range ?? 'integer'), number: range ? `number, ${range}` : 'number' };
  const names = [schema.type].flat().map((type) => ranged[type] ?? type);
  return names.join(' or ').replace('boolean', 'bool').replace('string', 'text');
}

/** @param {Schema} schema */
function meaningOf(schema) {
  const values = valuesOf(schema).map(({ value, meaning }) => `${code(value)} ${meaning.replace(/\.$/, '')}`.trim());
  return [schema.deprecated && '**Deprecated.**', schema.description, values.length && `${values.join('; ')}.`]
    .filter(Boolean)
    .join(' ');
}

/** Returns what is said of a member; of one that has a record of its own the first sentence is enough.
 * @param {Schema} member */
const shortMeaningOf = (member) => (member.$ref ? resolve(member).description.split(/(?<=\.) /)[0] : meaningOf(member));

/** Returns the rows of an object's members; those of an object without a name follow it.
 * @param {Schema} schema  @param {string} path  @returns {string[][]} */
const memberRows = (schema, path = '') =>
  Object.entries(schema.properties ?? {}).flatMap(([name, member]) => {
    const needed = schema.required?.includes(name);
    const fallback = member.default === undefined ? (needed ? 'required' : '') : code(member.default);
    const unit = resolve(member)['x-unit'] ?? '';
    const row = [`\`${path}${name}\``, typeOf(member), unit, fallback, shortMeaningOf(member)];
    return [row, ...(member.properties ? memberRows(member, `${path}${name}.`) : [])];
  });

const memberHeads = ['Member', 'Type', 'Unit', 'Default', 'Meaning'];

/** @param {Method} method  @returns {Schema} */
function paramsOf(method) {
  const params = method.params.map(resolve);
  return {
    required: params.filter((/** @type {any} */ param) => param.required).map((/** @type {any} */ param) => param.name),
    properties: Object.fromEntries(params.map((/** @type {any} */ { name, schema }) => [name, schema])),
  };
}

/** @param {unknown} value  cut where it is long: the description has all of it */
function json(value) {
  const text = JSON.stringify(value);
  return text.length <= 900 ? text : `${text.slice(0, 900)} …`;
}

/** @param {Method} method */
function exampleOf(method) {
  const [example] = method.examples;
  const params = Object.fromEntries(example.params.map((/** @type {any} */ { name, value }) => [name, value]));
  const isNotification = method.result === undefined;
  const request = { jsonrpc: '2.0', ...(isNotification ? {} : { id: 1 }), method: method.name, params: example.params.length ? params : undefined };
  const outcome = example['x-error'] ? { error: example['x-error'] } : { result: example.result?.value };
  const lines = isNotification ? [json(request)] : [json(request), json({ jsonrpc: '2.0', id: 1, ...outcome })];
  return `${example.name}:\n\n\`\`\`text\n${lines.join('\n')}\n\`\`\``;
}

/** @param {Schema} schema */
const unitOf = (schema) => (schema['x-unit'] ? ` (${schema['x-unit']})` : '');

/** @param {Method} method */
function describe(method) {
  const params = paramsOf(method);
  const result = method.result?.schema;
  const own = Object.keys(method['x-refused'] ?? {});
  const common = (method.errors ?? []).map(nameOf).filter((/** @type {string} */ error) => !own.includes(error));
  return [
    `### ${method.name}`,
    `**${method.summary}.** ${method.description}`,
    method.params.length ? table(memberHeads, memberRows(params)) : 'No params.',
    result && `**Result:** ${typeOf(result)}${unitOf(result)}${result.description ? `. ${result.description}` : ''}`,
    own.length > 0 && table(['Error', 'Code', 'When'], own.map((error) => [link(error), String(errors[error].code), reasonFor(method, error)])),
    common.length > 0 && `${own.length > 0 ? 'Also' : 'Errors'}: ${common.map(link).join(', ')}.`,
    exampleOf(method),
  ]
    .filter(Boolean)
    .join('\n\n');
}

/** Whether a value is one of several kinds of objects. @param {Schema} schema */
const isChoice = (schema) => schema.type === undefined && schema.oneOf.every((/** @type {Schema} */ one) => one.properties);

/** @param {[string, Schema]} entry */
const record = ([name, schema]) =>
  [
    `### ${name}`,
    schema.properties || isChoice(schema) ? schema.description : `${typeOf(schema)}${unitOf(schema)}. ${meaningOf(schema)}`,
    schema.properties && table(memberHeads, memberRows(schema)),
    isChoice(schema) && `Either ${schema.oneOf.map((/** @type {Schema} */ one) => `{ ${Object.entries(one.properties).map(([member, value]) => `\`${member}\`: ${typeOf(/** @type {Schema} */ (value))}`).join(', ')} }, ${one.description[0].toLowerCase()}${one.description.slice(1).replace(/\.$/, '')}`).join('; or ')}.`,
  ]
    .filter(Boolean)
    .join('\n\n');

/** @param {[string, Record<string, any>]} entry */
function errorSection([name, { code: number, message, data }]) {
  const schema = data && resolve(data);
  const isText = schema?.properties.returnCode !== undefined;
  const said = schema ? schema.description : message;
  const members = schema && Object.entries(schema.properties).map(([member, value]) => `\`${member}\` ${typeOf(/** @type {Schema} */ (value))}`);
  return [
    `### ${name}`,
    `Code ${number}${isText ? `, message "${message}"` : ''}. ${isText || !schema ? said : `${message} ${said}`}`,
    members && `\`data\`: ${members.join(', ')}.`,
  ]
    .filter(Boolean)
    .join('\n\n');
}

/** @param {[string, Method[]][]} sections */
const contents = (sections) =>
  sections
    .map(([name, list]) => `- ${link(name)}: ${list.map(({ name: method }) => `[${method.split('::')[1]}](#${anchorOf(method)})`).join(', ')}`)
    .join('\n');

/** What a description says of its server as a whole. @param {any} document */
const introduction = ({ info, servers }) => [
  info.description.replace(/\n\n\*\*How to read this document\.\*\*.*$/s, ''),
  servers.map((/** @type {any} */ { name, url, summary }) => `- ${name}, \`${url}\`: ${summary}`).join('\n'),
];

const allNotifications = [...notifications, ...simulatorNotifications];

export const reference = () => `${[
  '# Reference',
  '<!-- Made from TV/interfaces/openrpc.json and simulator/openrpc.json by clients/generator: node clients/generator/generate.js reference docs/reference.md -->',
  `Version ${openrpc.info.version}.`,
  ...introduction(openrpc),
  '## Contents',
  contents([...interfaces, ['Simulator', simulatorMethods], ['Notifications', allNotifications]]),
  '`unsigned` is 0 to 4294967295, `int` is -2147483648 to 2147483647; neither takes a fraction.',
  ...[...interfaces].flatMap(([name, methods]) => [`## ${name}`, ...methods.map(describe)]),
  '## Simulator',
  ...introduction(simulator),
  ...simulatorMethods.map(describe),
  '## Notifications',
  openrpc.components.tags.notification.description,
  ...allNotifications.map(describe),
  '## Records',
  ...Object.entries(schemas).map(record),
  '## Errors',
  `Any message may be answered with ${openrpc['x-protocol-errors'].map(nameOf).map(link).join(', ')}.`,
  ...Object.entries(errors).map(errorSection),
].join('\n\n')}\n`;
