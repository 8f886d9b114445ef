// A form made from the description: what the service's own documents say is understood, and checked as a whole
// checker of JSON Schema would.

import { Ajv2020 } from 'ajv/dist/2020.js';
import fc from 'fast-check';
import { readFileSync } from 'node:fs';
import { describe, expect, test } from 'vitest';
import { check } from '../../src/views/traffic/check.js';
import { type Document, methodsOf, type Schema } from '../../src/views/traffic/description.js';
import { limitsOf, parseNumber, startOf, valueAt, withValueAt } from '../../src/views/traffic/form.js';

const read = (path: string) => JSON.parse(readFileSync(new URL(`../../../${path}`, import.meta.url), 'utf8')) as Document;
const documents = [read('TV/interfaces/openrpc.json'), read('simulator/openrpc.json')];
const methods = documents.flatMap((document) => methodsOf(document).map((method) => ({ ...method, schemas: document.components.schemas, document })));
const bodyOf = (name: string) => methods.find((method) => method.name === name)!;
const problemsOf = (name: string, value: unknown) => {
  const { body, schemas } = bodyOf(name);
  return check(body!, value, schemas).map(({ path, text }) => `${path} ${text}`);
};

test('all methods are there, and no notification', () => {
  expect(methods.map(({ name }) => name)).toContain('ITVGuide::query');
  expect(methods.filter(({ name }) => name.includes('::on'))).toEqual([]);
  expect(bodyOf('ITVService::createContext')).toMatchObject({ takesContext: false, body: undefined });
  expect(bodyOf('ITVService::serviceListDelete')).toMatchObject({ takesContext: true, body: undefined });
  expect(bodyOf('ITVGuide::query').refusals).toContainEqual({ name: 'NotSupported', code: -32000, text: 'A format is unknown, or the expression is none.' });
});

describe.each(methods.filter(({ body }) => body !== undefined))('$name', ({ name, examples, body, schemas, document }) => {
  test('its examples are right, and so is what a form begins with', () => {
    for (const { body } of examples) expect(problemsOf(name, body)).toEqual([]);
    expect(problemsOf(name, startOf(body!, schemas))).toEqual([]);
  });

  test('whatever is made of them is judged as by ajv', () => {
    const ajv = new Ajv2020({ strict: false });
    ajv.addKeyword({ keyword: 'x-ascending', type: 'array', validate: (_: unknown, list: number[]) => list.every((each, i) => i === 0 || each >= list[i - 1]!) });
    const judge = ajv.compile({ ...body, components: document.components });
    const others = fc.oneof(fc.integer({ min: -3, max: 5 }), fc.double(), fc.string({ maxLength: 3 }), fc.boolean(), fc.constant(null), fc.constant([]), fc.constant({}),
      fc.constantFrom(-2147483649, 4294967296, 600_001, 101, 'reply', 'notification', 'TimedOut', 'all', 'quoriljson'));
    const changes = fc.array(fc.tuple(fc.nat(30), fc.option(others, { nil: undefined })), { maxLength: 3 });
    fc.assert(
      fc.property(fc.constantFrom(...examples.map(({ body }) => body)), changes, (from, changes) => {
        let value = from;
        for (const [choice, changed] of changes) value = withValueAt(value, pathOf(value, body!, choice), changed);
        if (value === undefined) return;
        value = JSON.parse(JSON.stringify(value)) as unknown;
        expect({ value, isRight: check(body!, value, schemas).length === 0 }).toEqual({ value, isRight: judge(value) });
      }),
      { numRuns: 300 },
    );
  });
});

/** A place in a value, or beside it: one of those that there are. */
function pathOf(value: unknown, body: Schema, choice: number): (string | number)[] {
  const paths: (string | number)[][] = [['unknown'], ...Object.keys(body.properties ?? {}).map((name) => [name])];
  const walk = (inner: unknown, path: (string | number)[]) => {
    paths.push(path);
    if (typeof inner === 'object' && inner !== null)
      for (const [key, member] of Object.entries(inner)) walk(member, [...path, Array.isArray(inner) ? Number(key) : key]);
  };
  walk(value, []);
  return paths[choice % paths.length]!;
}

// prettier-ignore
test.each<[string, unknown, string[]]>([
  ['ITVService::serviceListSeek', { offset: 1.5, whence: 0 },           ['offset wants a whole number']],
  ['ITVService::serviceListSeek', { offset: '1x', whence: 7 },          ['offset wants a whole number', 'whence wants 0 or 1 or 2']],
  ['ITVService::serviceListGet',  { limit: -1 },                        ['limit wants 0 to 4294967295']],
  ['ITVService::serviceListSet',  {},                                   ['base is needed']],
  ['ITVGuide::queryEventInfo',    { query: { timeRange: { base: 'x' }, limt: 1 } }, ['query.timeRange.base wants a whole number', 'query.limt has no such name; is it misspelt?']],
  ['ITVGuide::queryEventInfo',    { query: { genreList: [1, 256] } },   ['query.genreList[1] wants 0 to 255']],
  ['Simulator::clockStep',        { seconds: 1, toNextStart: {} },      [' wants one of “seconds”, “toNextStart”, and no other of them']],
  ['Simulator::weatherSet',       { rules: [{}] },                      ['rules[0] wants at least one of “delayMs”, “error”, “drop”']],
  ['Simulator::weatherSet',       { rules: [{ delayMs: [5, 1] }] },     ['rules[0].delayMs wants the least first']],
  ['Simulator::weatherSet',       { rules: [{ delayMs: 'x' }] },        ['rules[0].delayMs wants a whole number or a list']],
])('%s of %j says what is wrong', (name, value, wanted) => {
  expect(problemsOf(name, value)).toEqual(wanted);
});

test('values in values are read, changed and taken away, and the old stay as they were', () => {
  const before = { query: { ids: [1, 2, 3] } };
  expect(valueAt(before, ['query', 'ids', 1])).toBe(2);
  expect(valueAt(before, ['none', 'ids'])).toBeUndefined();
  expect(withValueAt(before, ['query', 'ids', 3], 4)).toEqual({ query: { ids: [1, 2, 3, 4] } });
  expect(withValueAt(before, ['query', 'ids', 0], undefined)).toEqual({ query: { ids: [2, 3] } });
  expect(withValueAt(before, ['query', 'ids'], undefined)).toEqual({ query: {} });
  expect(withValueAt(undefined, ['a', 'b'], 1)).toEqual({ a: { b: 1 } });
  expect(before).toEqual({ query: { ids: [1, 2, 3] } });
});

// prettier-ignore
test.each<[string, unknown]>([
  ['12', 12], ['-1.5', -1.5], [' 1e3 ', 1000], ['.5', 0.5], ['', undefined], ['  ', undefined], ['1x', '1x'], ['0x10', '0x10'], ['-', '-'], ['Infinity', 'Infinity'],
])('a number typed as %j', (text, wanted) => {
  expect(parseNumber(text)).toEqual(wanted);
});

test('unit, range and default stand in one line', () => {
  expect(limitsOf({ 'x-unit': 'ms', minimum: 0, maximum: 100, default: 5 })).toBe('ms · 0 to 100 · 5 unless given');
  expect(limitsOf({ type: 'array', minItems: 2, maxItems: 2 })).toBe('2 of them');
  expect(limitsOf({ type: 'string' })).toBe('');
});
