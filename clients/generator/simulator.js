// Makes TypeScript of the simulator's description: the records, what each control takes and gives, and
// what is told of changes.

import { simulator, simulatorMethods, simulatorNotifications } from './description.js';
import { capitalized, comment, eventName, paramsSchema, record, shapeOf, shortName, typeOf } from './typescript.js';

/** @typedef {import('./description.js').Method} Method */

/** @param {Method} method */
const paramsName = (method) => `${capitalized(shortName(method.name))}Params`;

/** @param {Method} method */
const paramsRecord = (method) =>
  `/** What \`${method.name}\` takes. */\nexport interface ${paramsName(method)} ${typeOf(paramsSchema(method))}\n`;

/** @param {Method} method */
function methodEntry(method) {
  const params = method.params.length === 0 ? 'undefined' : paramsName(method);
  const said = comment([`${method.summary}.`, method.description], '  ');
  return `${said}  '${method.name}': { params: ${params}; result: ${typeOf(method.result.schema, '  ')} };\n`;
}

/** @param {Method} method */
const notificationEntry = (method) =>
  `${comment([`${method.summary}.`, method.description], '  ')}  ${eventName(method.name)}: ${typeOf(paramsSchema(method), '  ')};\n`;

export const typescriptSimulator = () => `// Made from simulator/openrpc.json by clients/generator. Changes belong there.

import type { Shape } from '../Shape.js';

${Object.entries(simulator.components.schemas).map(record).join('\n')}
${simulatorMethods.filter(({ params }) => params.length > 0).map(paramsRecord).join('\n')}
/** What each control takes and gives. */
export interface Methods {
${simulatorMethods.map(methodEntry).join('\n')}}

/** What the simulator tells by itself, each with what it carries. */
export interface Notifications {
${simulatorNotifications.map(notificationEntry).join('\n')}}

/** The shape of each control's result. */
export const results: Readonly<Record<string, Shape>> = {
${simulatorMethods.map(({ name, result }) => `  '${name}': ${shapeOf(result.schema)},`).join('\n')}
};

/** The event that each notification becomes, and the shape of what it carries. */
export const notifications: Readonly<Record<string, readonly [event: string, params: Shape]>> = {
${simulatorNotifications.map((method) => `  '${method.name}': ['${eventName(method.name)}', ${shapeOf(paramsSchema(method))}],`).join('\n')}
};
`;
