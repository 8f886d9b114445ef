// The guide of 1,000 channels and 14 days: how smoothly it scrolls, and how little of it the document holds.

import type { Page } from 'playwright-core';
import { expect, test } from 'vitest';
import { startBigWorld } from './support/bigWorld.js';
import { type Frames, measureEmptyPage, measureFrames } from './support/frames.js';
import { startHost } from './support/host.js';
import { allow, openPage, sizes } from './support/page.js';

const mostNodes = 1500;

/** A screen's wheel or finger, at a speed in pixels a second: from the middle, by a distance. */
async function scroll(page: Page, source: 'mouse' | 'touch', xDistance: number, yDistance: number, speed: number): Promise<void> {
  const session = await page.context().newCDPSession(page);
  const { width, height } = page.viewportSize()!;
  await session.send('Input.synthesizeScrollGesture', {
    x: width * 0.6, y: height * 0.5, xDistance, yDistance, speed, gestureSourceType: source, preventFling: source === 'mouse',
  });
  await session.detach();
}

async function press(page: Page, key: string, times: number): Promise<void> {
  for (let i = 0; i < times; i++) await page.keyboard.press(key);
}

const ways: readonly (readonly [string, (page: Page) => Promise<void>])[] = [
  ['wheel down', (page) => scroll(page, 'mouse', 0, -12_000, 4000)],
  ['wheel up', (page) => scroll(page, 'mouse', 0, 9000, 4000)],
  ['wheel to later', (page) => scroll(page, 'mouse', -9000, 0, 3000)],
  ['wheel to earlier', (page) => scroll(page, 'mouse', 12_000, 0, 3000)],
  ['both at once', (page) => scroll(page, 'mouse', -6000, -6000, 4000)],
  ['fling down', (page) => scroll(page, 'touch', 0, -6000, 9000)],
  ['fling to later', (page) => scroll(page, 'touch', -6000, 0, 9000)],
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
