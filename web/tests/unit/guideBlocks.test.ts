import fc from 'fast-check';
import { describe, expect, test } from 'vitest';
import { blockLength, blockSpan, blocksOf, blocksToDrop, blocksToFetch, joinedSpans, mostBlocks, stepped, withMargin } from '../../src/views/guide/blocks';

const hours = (from: number, to: number) => ({ from: from * 3600, to: to * 3600 });
const none = () => false;

const anySpan = fc
  .tuple(fc.integer({ min: 0, max: 2_000_000_000 }), fc.integer({ min: 60, max: 16 * 3600 }))
  .map(([from, length]) => ({ from, to: from + length }));

describe('blocks of two hours', () => {
  test.each([
    ['one', hours(2, 4), [1]],
    ['a second of the next', { from: 2 * 3600, to: 4 * 3600 + 1 }, [1, 2]],
    ['nothing', hours(3, 3), [1]],
    ['before 1970', hours(-3, -1), [-2, -1]],
  ])('blocksOf %s', (_, span, blocks) => expect(blocksOf(span)).toEqual(blocks));

  test.each([
    ['half a screen beside it, the middle first', hours(8, 12), [], [4, 5, 3, 6]],
    ['what is there is not asked for again', hours(8, 12), [4, 6], [5, 3]],
    ['all is there', hours(8, 12), [3, 4, 5, 6], []],
  ])('blocksToFetch: %s', (_, shown, kept: number[], blocks) => {
    expect(blocksToFetch(shown, (block) => kept.includes(block))).toEqual(blocks);
  });

  test('what is asked for covers all that is shown, and half a screen beside it', () => {
    fc.assert(
      fc.property(anySpan, (shown) => {
        const [covered, ...more] = joinedSpans(blocksToFetch(shown, none));
        const wanted = withMargin(shown);
        expect(more).toEqual([]);
        expect(covered!.from).toBeLessThanOrEqual(wanted.from);
        expect(covered!.to).toBeGreaterThanOrEqual(wanted.to);
        expect(covered!.to - covered!.from).toBeLessThan(wanted.to - wanted.from + 2 * blockLength);
      }),
    );
  });

  test('what is kept is bounded, and never drops what would be asked for again', () => {
    fc.assert(
      fc.property(anySpan, fc.uniqueArray(fc.integer({ min: 0, max: 300_000 })), (shown, before) => {
        const kept = new Set([...before, ...blocksToFetch(shown, none)]);
        for (const block of blocksToDrop(shown, kept)) kept.delete(block);
        expect(kept.size).toBeLessThanOrEqual(mostBlocks);
        expect(blocksToFetch(shown, (block) => kept.has(block))).toEqual([]);
      }),
    );
  });
});

test('joinedSpans', () => {
  expect(joinedSpans([3, 1, 2, 7])).toEqual([hours(2, 8), hours(14, 16)]);
  expect(joinedSpans([])).toEqual([]);
  expect(joinedSpans([4])).toEqual([blockSpan(4)]);
});

test('stepped: a window that moves within a step stays the same, and always has one more on each side', () => {
  fc.assert(
    fc.property(anySpan, (shown) => {
      const drawn = stepped(shown, 1800);
      expect(shown.from - drawn.from).toBeGreaterThanOrEqual(1800);
      expect(drawn.to - shown.to).toBeGreaterThanOrEqual(1800);
      expect(drawn.to - drawn.from).toBeLessThan(shown.to - shown.from + 4 * 1800);
    }),
  );
  expect(stepped({ from: 3601, to: 7201 }, 1800)).toEqual(stepped({ from: 5399, to: 8999 }, 1800));
});
