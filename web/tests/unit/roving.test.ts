import { expect, test } from 'vitest';
import { stepTo } from '../../src/parts/roving';

// Ten cards in rows of four, of which the last has two; two rows in sight.
const cards = { count: 10, columns: 4, page: 2 };
const list = { count: 10, columns: 1, page: 4 };
const nowhere = undefined;

// prettier-ignore
test.each([
  ['ArrowRight', 0, cards, 1],        ['ArrowRight', 3, cards, nowhere],  ['ArrowRight', 9, cards, nowhere],
  ['ArrowLeft',  1, cards, 0],        ['ArrowLeft',  4, cards, nowhere],
  ['ArrowDown',  1, cards, 5],        ['ArrowDown',  6, cards, 9],        ['ArrowDown',  8, cards, nowhere],
  ['ArrowUp',    9, cards, 5],        ['ArrowUp',    2, cards, nowhere],
  ['PageDown',   0, cards, 8],        ['PageDown',   3, cards, 9],        ['PageUp',     9, cards, 1],  ['PageUp', 5, cards, 1],
  ['Home',       7, cards, 0],        ['End',        0, cards, 9],        ['Home',       0, cards, nowhere],
  ['ArrowRight', 3, list,  nowhere],  ['ArrowLeft',  3, list,  nowhere],  ['ArrowDown',  3, list,  4],  ['ArrowUp', 0, list, nowhere],
  ['PageDown',   3, list,  7],        ['PageDown',   8, list,  9],        ['PageUp',     2, list,  0],
  ['Enter',      3, list,  nowhere],  ['ArrowDown',  0, { count: 0, columns: 1, page: 1 }, nowhere],
  ['End',        0, { count: 0, columns: 4, page: 1 }, nowhere],
] as const)('%s at %d', (key, from, rows, to) => {
  expect(stepTo(key, from, rows)).toBe(to);
});

test('keys lead from every place to one that is there', () => {
  for (const count of [1, 2, 7, 8, 9])
    for (const columns of [1, 2, 4, 10])
      for (let from = 0; from < count; from += 1)
        for (const key of ['ArrowLeft', 'ArrowRight', 'ArrowUp', 'ArrowDown', 'PageUp', 'PageDown', 'Home', 'End']) {
          const to = stepTo(key, from, { count, columns, page: 3 });
          expect(to ?? 0).toBeGreaterThanOrEqual(0);
          expect(to ?? 0).toBeLessThan(count);
        }
});
