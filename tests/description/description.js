// TV/interfaces/openrpc.json, and what it says of replies, errors and notifications.

import Ajv from 'ajv';
import { readFileSync } from 'node:fs';

export const openrpc = JSON.parse(
  readFileSync(new URL('../../TV/interfaces/openrpc.json', import.meta.url), 'utf8'),
);

/** Returns what a reference stands for; what is none stands for itself. */
export function resolve(value) {
  if (value?.$ref === undefined) return value;
  return value.$ref
    .slice(2)
    .split('/')
    .reduce((part, name) => part?.[name], openrpc);
}

const isNotification = (method) => (method.tags ?? []).some((tag) => resolve(tag).name === 'notification');

/** What clients call, and what the service sends by itself. */
export const methods = openrpc.methods.filter((method) => !isNotification(method));
export const notifications = openrpc.methods.filter(isNotification);

export const paramsOf = (method) => method.params.map(resolve);
export const findMethod = (name) => methods.find((method) => method.name === name);

const ajv = new Ajv.default({ strict: true, allowUnionTypes: true, validateSchema: false });
ajv.addKeyword('x-unit');
ajv.addKeyword('components');
ajv.addKeyword({
  keyword: 'x-content-schema',
  type: 'string',
  validate: (schema, text) => !text.startsWith('{') || validatorOf(schema)(JSON.parse(text)),
});
// Whatever is compiled finds its references here.
const { components } = openrpc;
ajv.addSchema({ components }, 'openrpc');

const validators = new Map();

/** Returns the function that tells whether a value is as a schema of the description has it. */
export function validatorOf(schema) {
  if (!validators.has(schema)) {
    const text = JSON.stringify(schema).replaceAll('"$ref":"#/', '"$ref":"openrpc#/');
    validators.set(schema, ajv.compile(JSON.parse(text)));
  }
  return validators.get(schema);
}

/** Returns what is wrong with a value, in a line each. */
export function faultsOf(schema, value, name) {
  const validate = validatorOf(schema);
  if (validate(value)) return [];
  return validate.errors.map((error) => `${name}${error.instancePath} ${error.message}`);
}

/** Returns the schema of a method's params. */
export function paramsSchemaOf(method) {
  const params = paramsOf(method);
  return {
    type: 'object',
    required: params.filter((param) => param.required).map((param) => param.name),
    properties: Object.fromEntries(params.map((param) => [param.name, param.schema])),
  };
}

function isError(described, error) {
  if (described.code !== error.code) return false;
  if (described.data === undefined) return error.data === undefined;
  if (!validatorOf(described.data)(error.data)) return false;
  // What has a result code has its text as well; other texts name what was wrong.
  return error.data.returnCode === undefined || described.message === error.message;
}

/**
 * Returns the name that the description has for an error, undefined for one that is not described.
 * @param method  undefined where none was found or the request was none
 */
export function nameOfError(method, error) {
  const errors = method?.errors ?? openrpc['x-protocol-errors'];
  return errors.find((described) => isError(resolve(described), error))?.$ref.split('/').at(-1);
}

/** Returns what is wrong with a reply. */
export function faultsOfReply(method, reply) {
  const outcomes = ['result', 'error'].filter((name) => name in reply);
  if (reply.jsonrpc !== '2.0' || !('id' in reply) || outcomes.length !== 1)
    return [`no reply: ${JSON.stringify(reply)}`];
  if ('error' in reply)
    return nameOfError(method, reply.error) ? [] : [`error that is not described: ${JSON.stringify(reply.error)}`];
  return method === undefined
    ? ['result of what is no method']
    : faultsOf(method.result.schema, reply.result, 'result');
}

/** Returns what is wrong with a notification. */
export function faultsOfNotification({ method: name, params }) {
  const described = notifications.find((method) => method.name === name);
  if (described === undefined) return [`notification that is not described: ${name}`];
  return faultsOf({ ...paramsSchemaOf(described), additionalProperties: false }, params, name);
}
