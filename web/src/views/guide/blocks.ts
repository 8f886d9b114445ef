import type { Seconds } from '../../parts/time';
import type { Span } from './cells';

/** The guide is asked for in blocks of whole hours, by their number since 1970, so that answers can be kept. */
export const blockLength = 2 * 3600;

/** How many blocks are kept at most: the nearest ones. */
export const mostBlocks = 24;

export const blockSpan = (block: number): Span => ({ from: block * blockLength, to: (block + 1) * blockLength });

/** The blocks that touch a span, in order. */
export function blocksOf({ from, to }: Span): number[] {
  const first = Math.floor(from / blockLength);
  const count = Math.ceil(to / blockLength) - first;
  return Array.from({ length: Math.max(0, count) }, (_, i) => first + i);
}

/** What is shown with half a screen of margin on each side. */
export function withMargin({ from, to }: Span): Span {
  const margin = (to - from) / 2;
  return { from: from - margin, to: to + margin };
}

const distance = (block: number, shown: Span): number => Math.abs(blockSpan(block).from + blockSpan(block).to - shown.from - shown.to);

/** What to ask for next, the nearest to the middle of what is shown first: no more than may be kept. */
export function blocksToFetch(shown: Span, has: (block: number) => boolean): number[] {
  return blocksOf(withMargin(shown))
    .sort((a, b) => distance(a, shown) - distance(b, shown))
    .slice(0, mostBlocks)
    .filter((block) => !has(block));
}

/** What to let go: the furthest of what is kept, as many as are too many. */
export function blocksToDrop(shown: Span, kept: Iterable<number>): number[] {
  return [...kept].sort((a, b) => distance(a, shown) - distance(b, shown)).slice(mostBlocks);
}

/** Those that join are one. */
export function joinedSpans(blocks: readonly number[]): Span[] {
  const spans: { from: Seconds; to: Seconds }[] = [];
  for (const block of [...blocks].sort((a, b) => a - b)) {
    const { from, to } = blockSpan(block);
    const last = spans.at(-1);
    if (last?.to === from) last.to = to;
    else spans.push({ from, to });
  }
  return spans;
}

/** A window widened to whole steps, with one more on each side: it changes when a step is crossed, not at each pixel. */
export function stepped({ from, to }: Span, step: number): Span {
  return { from: (Math.floor(from / step) - 1) * step, to: (Math.ceil(to / step) + 1) * step };
}
