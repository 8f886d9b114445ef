// The short history of what was done from the page.

import { expect, test } from 'vitest';
import { withDeed, type Line } from '../../src/parts/done.js';

const deeds = (...kinds: (string | undefined)[]) =>
  kinds.reduce<readonly Line[]>((lines, kind, n) => withDeed(lines, { says: `${n}`, command: `${n}`, ...(kind !== undefined && { kind }) }), []);

test('the latest stands first', () => expect(deeds(undefined, undefined).map(({ says }) => says)).toEqual(['1', '0']));

test('of one kind in a row the last is kept, and of none each', () => {
  expect(deeds('speed', 'speed', 'speed').map(({ says }) => says)).toEqual(['2']);
  expect(deeds('speed', 'signal', 'speed').map(({ says }) => says)).toEqual(['2', '1', '0']);
});

test('ten are kept, each with a number of its own', () => {
  const lines = deeds(...Array<undefined>(25).fill(undefined));
  expect(lines).toHaveLength(10);
  expect(new Set(lines.map(({ number }) => number)).size).toBe(10);
});
