// docs/reference.md is what the description makes of it.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import test from 'node:test';
import { reference } from '../../clients/generator/reference.js';

test('docs/reference.md is up to date', () => {
  const committed = readFileSync(new URL('../../docs/reference.md', import.meta.url), 'utf8');
  assert(committed === reference(), 'make it anew: node clients/generator/generate.js reference docs/reference.md');
});

test('every link in it leads to a heading', () => {
  const text = reference();
  const anchors = new Set([...text.matchAll(/^#+ (.*)$/gm)].map(([, heading]) => heading.toLowerCase().replaceAll(/[^\w-]/g, '')));
  const dead = [...text.matchAll(/\]\(#([^)]*)\)/g)].map(([, anchor]) => anchor).filter((anchor) => !anchors.has(anchor));
  assert.deepEqual(dead, []);
});
