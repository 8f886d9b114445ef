// The guide of 1,000 channels and 14 days: how smoothly it scrolls, and how little of it the document holds.

import type { Page } from 'playwright-core';
import { expect, test } from 'vitest';
import { startBigWorld } from './support/bigWorld.js';
import { type Frames, measureEmptyPage, measureFrames } from './support/frames.js';
import { startHost } from './support/host.js';
import { isBench } from './support/measure.js';
import { allow, openPage, sizes } from './support/page.js';
import { swipe } from './support/touch.js';

const mostNodes = 1500;

/** Turns the wheel: by so many pixels to the right and down, at a speed in pixels a second. */
async function wheel(page: Page, x: number, y: number, speed: number): Promise<void> {
  const session = await page.context().newCDPSession(page);
  const { width, height } = page.viewportSize()!;
  await session.send('Input.synthesizeScrollGesture', {
    x: width * 0.65, y: height * 0.5, xDistance: -x, yDistance: -y, speed, gestureSourceType: 'mouse',
  });
  await session.detach();
}

/** Swipes six times, with what the grid runs on by itself. */
async function fling(page: Page, x: number, y: number): Promise<void> {
  const { width, height } = page.viewportSize()!;
  for (let i = 0; i < 6; i++) await swipe(page, { x: width * 0.7, y: height * 0.6 }, { x: -x, y: -y });
}

async function press(page: Page, key: string, times: number): Promise<void> {
  for (let i = 0; i < times; i++) await page.keyboard.press(key);
}

const ways: readonly (readonly [string, (page: Page) => Promise<void>])[] = [
  ['wheel down', (page) => wheel(page, 0, 12_000, 4000)],
  ['wheel up', (page) => wheel(page, 0, -9000, 4000)],
  ['wheel to later', (page) => wheel(page, 9000, 0, 3000)],
  ['wheel to earlier', (page) => wheel(page, -12_000, 0, 3000)],
  ['both at once', (page) => wheel(page, 6000, 6000, 4000)],
  ['fling down', (page) => fling(page, 0, 200)],
  ['fling to later', (page) => fling(page, 120, 0)],
  ['arrow down held', (page) => press(page, 'ArrowDown', 60)],
  ['arrow right held', (page) => press(page, 'ArrowRight', 60)],
  ['screens of channels', (page) => press(page, 'PageDown', 20)],
  ['days', (page) => press(page, '[', 6)],
  ['home', (page) => press(page, 'Home', 1)],
];

const line = (what: string, { count, longest, over50, mostNodes }: Frames): string =>
  `  ${what.padEnd(22)} ${String(count).padStart(5)} frames, longest ${longest.toFixed(0).padStart(4)} ms, over 50 ms: ${over50}, nodes ${mostNodes}`;

test.each(isBench ? (['desk', 'television', 'phone'] as const) : (['desk'] as const))('1,000 channels and 14 days, %s', async (size) => {
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
