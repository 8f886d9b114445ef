// The guide of 1,000 channels and 14 days: how smoothly it scrolls, and how little of it the document holds.

import type { Page } from 'playwright-core';
import { expect, test } from 'vitest';
import { startBigWorld } from './support/bigWorld.js';
import { type Frames, measureEmptyPage, measureFrames } from './support/frames.js';
import { startHost } from './support/host.js';
import { allow, openPage, sizes } from './support/page.js';

const mostNodes = 1500;

interface Gesture {
  source: 'mouse' | 'touch';
  x?: number;
  y?: number;
  /** Pixels a second. */
  speed: number;
  times?: number;
}

/** A wheel or a finger, from the middle of the grid. A finger that leaves the glass fast lets the grid run on. */
async function scroll(page: Page, { source, x = 0, y = 0, speed, times = 1 }: Gesture): Promise<void> {
  const session = await page.context().newCDPSession(page);
  const { width, height } = page.viewportSize()!;
  const fling = source === 'touch' ? { preventFling: false, repeatCount: times - 1, repeatDelayMs: 100 } : {};
  await session.send('Input.synthesizeScrollGesture', {
    x: width * 0.65, y: height * 0.5, xDistance: x, yDistance: y, speed, gestureSourceType: source, ...fling,
  });
  await session.detach();
}

async function press(page: Page, key: string, times: number): Promise<void> {
  for (let i = 0; i < times; i++) await page.keyboard.press(key);
}

const ways: readonly (readonly [string, (page: Page) => Promise<void>])[] = [
  ['wheel down', (page) => scroll(page, { source: 'mouse', y: -12_000, speed: 4000 })],
  ['wheel up', (page) => scroll(page, { source: 'mouse', y: 9000, speed: 4000 })],
  ['wheel to later', (page) => scroll(page, { source: 'mouse', x: -9000, speed: 3000 })],
  ['wheel to earlier', (page) => scroll(page, { source: 'mouse', x: 12_000, speed: 3000 })],
  ['both at once', (page) => scroll(page, { source: 'mouse', x: -6000, y: -6000, speed: 4000 })],
  ['fling down', (page) => scroll(page, { source: 'touch', y: -200, speed: 3000, times: 6 })],
  ['fling to later', (page) => scroll(page, { source: 'touch', x: -120, speed: 3000, times: 6 })],
  ['arrow down held', (page) => press(page, 'ArrowDown', 60)],
  ['arrow right held', (page) => press(page, 'ArrowRight', 60)],
  ['screens of channels', (page) => press(page, 'PageDown', 20)],
  ['days', (page) => press(page, '[', 6)],
  ['home', (page) => press(page, 'Home', 1)],
];

const line = (what: string, { count, longest, over50, mostNodes }: Frames): string =>
  `  ${what.padEnd(22)} ${String(count).padStart(5)} frames, longest ${longest.toFixed(0).padStart(4)} ms, over 50 ms: ${over50}, nodes ${mostNodes}`;

test.each(['desk', 'television', 'phone'] as const)('1,000 channels and 14 days, %s', async (size) => {
  const world = await startBigWorld(await startHost());
  const page = await openPage(world, '#/guide', { size });
  allow(page, /Simulator/); // there is none
  await page.waitForSelector('[role=gridcell][data-kind=event]');
  const log = [`Scrolling on ${sizes[size].width} by ${sizes[size].height}:`, line('(an empty page)', await measureEmptyPage(page))];
  let most = 0;
  for (const [what, way] of ways) {
    const frames = await measureFrames(page, () => way(page));
    log.push(line(what, frames));
    most = Math.max(most, frames.mostNodes);
  }
  console.log(log.join('\n'));
  expect(most).toBeLessThanOrEqual(mostNodes);
  expect(await page.locator('[role=gridcell][data-kind=event]').count()).toBeGreaterThan(20);
});
