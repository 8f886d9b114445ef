// The description as a document: what OpenRPC asks of it, and what we ask beside.

import addFormats from 'ajv-formats';
import Ajv from 'ajv';
import assert from 'node:assert/strict';
import test from 'node:test';
import jsonSchema from '@json-schema-tools/meta-schema';
import openrpcSchema from '@open-rpc/meta-schema';
import { description, server } from './description.js';

const { document: openrpc, methods, notifications } = description;

/** Calls visit(value, path) for a value and all that is in it. */
function walk(value, visit, path = '') {
  visit(value, path);
  if (value !== null && typeof value === 'object')
    for (const [name, member] of Object.entries(value)) walk(member, visit, `${path}/${name}`);
}

/** Returns the names of the components that a list of references refers to. */
const namesIn = (references) => references.map(({ $ref }) => $ref.split('/').at(-1));

test('it is valid against the published meta-schema', () => {
  const ajv = new Ajv.default({ strict: false, allErrors: true });
  addFormats.default(ajv);
  ajv.addMetaSchema(jsonSchema.default);
  // The meta-schema leaves the slash out.
  ajv.addSchema({ $ref: jsonSchema.default.$id }, jsonSchema.default.$id.replace(/\/$/, ''));
  const validate = ajv.compile(openrpcSchema.default);
  validate(openrpc);
  assert.deepEqual(validate.errors ?? [], []);
});

test('every reference leads somewhere, and every component is referred to', () => {
  const used = new Set();
  walk(openrpc, (value, path) => {
    if (value?.$ref === undefined) return;
    assert.notEqual(description.resolve(value), undefined, `${path}: nothing is at ${value.$ref}`);
    used.add(value.$ref);
  });
  const unused = [];
  for (const [kind, components] of Object.entries(openrpc.components))
    for (const name of Object.keys(components))
      if (!used.has(`#/components/${kind}/${name}`)) unused.push(name);
  // A box may time out or fail; the simulation does not.
  assert.deepEqual(unused, server === 'TV' ? ['TimedOut', 'GenericFailure'] : []);
});

test('everything that a client sees is explained', () => {
  for (const method of openrpc.methods) {
    assert(method.summary && method.description, `${method.name} is not explained`);
    assert.equal(method.paramStructure, 'by-name', method.name);
  }
  for (const [name, { data }] of Object.entries(openrpc.components.errors))
    assert(data === undefined || description.resolve(data).description, `${name} is not explained`);
  walk(openrpc, (value, path) => {
    for (const [name, member] of Object.entries(value?.properties ?? {}))
      assert(
        description.resolve(member).description || description.resolve(member).const !== undefined,
        `${path}/properties/${name} is not explained`,
      );
  });
});

test('numbers have their range', () => {
  walk(openrpc, (value, path) => {
    if (/integer|number/.test(value?.type) && !/string/.test(value.type) && !path.endsWith('/properties') && !value.oneOf)
      assert(value.minimum !== undefined && value.maximum !== undefined, `${path} has no range`);
  });
});

test('errors of a method’s own say when they come', () => {
  const common = ['InvalidParams', 'ContextGone', 'OutOfMemory', 'ServiceFull', 'ReplyTooLarge'];
  for (const { name, errors, 'x-refused': refused = {} } of methods) {
    const listed = namesIn(errors);
    const own = listed.filter((error) => error in refused || !common.includes(error));
    assert.deepEqual(own.sort(), Object.keys(refused).sort(), name);
    assert(listed.includes('InvalidParams') && listed.includes('ReplyTooLarge'), name);
  }
});

test('every method has an example, which is as its schemas say', () => {
  for (const method of openrpc.methods) {
    assert.equal(method.examples?.length, 1, method.name);
    const [example] = method.examples;
    const params = Object.fromEntries(example.params.map(({ name, value }) => [name, value]));
    const shown = description.paramsOf(method).filter(({ name, required }) => required || name in params);
    assert.deepEqual(Object.keys(params), shown.map(({ name }) => name), method.name);
    assert.deepEqual(description.faultsOf(description.paramsSchemaOf(method), params, method.name), []);
    if (example.result !== undefined)
      assert.deepEqual(description.faultsOf(method.result.schema, example.result.value, method.name), []);
    const outcomes = [example.result, example['x-error']].filter((outcome) => outcome !== undefined);
    assert.equal(outcomes.length, notifications.includes(method) ? 0 : 1, method.name);
  }
});
