// A JSON tree: what is open, what a line says, where a key leads, and that a large document stays a few lines.

import { expect, test } from 'vitest';
import { jsonRows, moveInTree, openAtFirst } from '../../src/views/traffic/jsonRows.js';

const draw = (value: unknown, open: Iterable<string>) =>
  jsonRows(value, new Set(open)).map(({ depth, label, text, canOpen, isOpen }) => `${'  '.repeat(depth)}${canOpen ? (isOpen ? 'v ' : '> ') : ''}${label && `${label}: `}${text}`);

test('branches are opened one by one', () => {
  const value = { id: 7, params: { ids: [1, null], on: true }, none: {} };
  expect(draw(value, [''])).toEqual(['v { 3 members }', '  id: 7', '  > params: { 2 members }', '  none: { 0 members }']);
  expect(draw(value, ['', '/params', '/params/ids']).slice(2, 7)).toEqual(['  v params: { 2 members }', '    v ids: [ 2 elements ]', '      0: 1', '      1: null', '    on: true']);
});

test('a document that travels as a text is opened as what it is', () => {
  expect(draw({ doc: '{"Title":"News"}' }, ['', '/doc'])).toEqual(['v { 1 member }', '  v doc: "{\\"Title\\":\\"News\\"}"', '    Title: "News"']);
  expect(draw({ doc: '[no' }, ['', '/doc'])).toEqual(['v { 1 member }', '  v doc: "[no"', '    [no']);
});

test('a long text is opened line by line', () => {
  const rows = draw('x'.repeat(250), ['']);
  expect(rows.slice(1).map((row) => row.trim().length)).toEqual([120, 120, 10]);
});

test('ten megabytes are a few lines, and their ranges open to hundreds', () => {
  const value = { result: Array.from({ length: 11_658 }, (_, i) => ({ i, text: 'x'.repeat(900) })) };
  const open = openAtFirst(value);
  expect(jsonRows(value, open).length).toBeLessThan(150);
  const rows = draw(value, ['', '/result', '/result@0-9999', '/result@0-9999'.replace('0-9999', '10000-11657')]);
  expect(rows.slice(2, 5)).toEqual(['    v 0 … 9999: ', '      > 0 … 99: ', '      > 100 … 199: ']);
  expect(rows.length).toBe(2 + 2 + 100 + 17);
  expect(draw(value, ['', '/result', '/result@10000-11657', '/result@11600-11657']).at(-1)).toBe('        > 11657: { 2 members }');
});

test('what is small is open at first', () => {
  expect(draw({ a: { b: { c: 1 } } }, openAtFirst({ a: { b: { c: 1 } } })).at(-1)).toBe('      c: 1');
});

// prettier-ignore
test.each<[string, number, unknown]>([
  ['ArrowDown',  0, { at: 1 }],
  ['ArrowDown',  4, undefined],
  ['ArrowUp',    0, undefined],
  ['ArrowRight', 0, { at: 1 }],                      // open already: to what is in it
  ['ArrowRight', 1, { at: 1, toggle: '/a' }],
  ['ArrowRight', 4, undefined],
  ['ArrowLeft',  2, { at: 2, toggle: '/b' }],
  ['ArrowLeft',  3, { at: 2 }],                      // to what it is in
  ['ArrowLeft',  0, { at: 0, toggle: '' }],
  ['Enter',      1, { at: 1, toggle: '/a' }],
  [' ',          3, undefined],
  ['End',        0, { at: 4 }],
  ['Home',       3, { at: 0 }],
  ['x',          0, undefined],
])('%s at line %i', (key, at, wanted) => {
  const rows = jsonRows({ a: [1], b: [2], c: 3 }, new Set(['', '/b']));
  expect(moveInTree(rows, at, key)).toEqual(wanted);
});
