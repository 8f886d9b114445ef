// Makes TypeScript of the simulator's description: the records, what is told of changes, and a class with the
// controls as typed methods.

import { simulator, simulatorMethods, simulatorNotifications } from './description.js';
import { capitalized, comment, eventName, methodComment, paramsSchema, record, shapeOf, shortName, typeOf } from './typescript.js';

/** @typedef {import('./description.js').Method} Method */

/** @param {Method} method */
const paramsName = (method) => `${capitalized(shortName(method.name))}Params`;

/** @param {Method} method */
const paramsRecord = (method) =>
  `/** What \`${method.name}\` takes. */\nexport interface ${paramsName(method)} ${typeOf(paramsSchema(method))}\n`;

/** @param {Method} method */
function typedMethod(method) {
  const [hasParams, isAnyRequired] = [method.params.length > 0, method.params.some((/** @type {any} */ { required }) => required)];
  const parameter = hasParams ? `params: ${paramsName(method)}${isAnyRequired ? '' : ' = {}'}, ` : '';
  const type = typeOf(method.result.schema, '  ');
  return `${methodComment(method)}  ${shortName(method.name)}(${parameter}options?: CallOptions): Promise<${type}> {
    return this.call('${method.name}', ${hasParams ? 'params' : 'undefined'}, options) as Promise<${type}>;
  }\n`;
}

/** @param {Method} method */
const notificationEntry = (method) =>
  `${comment([`${method.summary}.`, method.description], '  ')}  ${eventName(method.name)}: ${typeOf(paramsSchema(method), '  ')};\n`;

export const typescriptSimulator = () => `// SPDX-License-Identifier: Apache-2.0

// Made from simulator/openrpc.json by clients/generator. Changes belong there.

import type { CallOptions } from '../call.js';
import { Conversation } from '../Conversation.js';
import type { ConnectionEvents } from '../Emitter.js';
import type { Shape } from '../Shape.js';

${Object.entries(simulator.components.schemas).map(record).join('\n')}
${simulatorMethods.filter(({ params }) => params.length > 0).map(paramsRecord).join('\n')}
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

/** A conversation with a simulator: its methods, by the wire's own names. */
export class SimulatorMethods extends Conversation<Notifications & ConnectionEvents> {
${simulatorMethods.map(typedMethod).join('\n')}}
`;
