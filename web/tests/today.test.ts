// A guide that is always on air: how the page goes along when it turns.

import type { Page } from 'playwright-core';
import { expect, test } from 'vitest';
import { simulatorOf, startHost } from './support/host.js';
import { openPage } from './support/page.js';

const seconds = (text: string) => Date.parse(text) / 1000;

/** A host in London whose clock stands at a time. */
const startToday = (now: string) => startHost('--fake-time=false', '--today', '--now', now);

const days = (page: Page) => page.locator('[class*=dayMarks] span').allInnerTexts();

test('what is on today is shown, and that it is today', async () => {
  const page = await openPage(await startToday('2026-11-24T22:00:00Z'), '#/now');
  await page.getByText("Ten O'Clock Bulletin").first().waitFor();
  await page.getByRole('banner').getByText('World: built-in, today').waitFor();
});

test('at midnight the days of the guide move on', async () => {
  const host = await startToday('2026-11-24T23:59:57Z');
  const simulator = await simulatorOf(host);
  const page = await openPage(host, '#/simulator');
  await expect.poll(() => days(page)).toContain('Tue 24 Nov');
  const before = await days(page);
  await simulator.clockSet({ speed: 1 });
  await expect.poll(() => days(page), { timeout: 15_000 }).not.toEqual(before);
  expect((await days(page))[0]).toBe(before[1]);
});

test('where the clock is set to, the days of the guide go', async () => {
  const host = await startToday('2026-11-24T12:00:00Z');
  const simulator = await simulatorOf(host);
  const page = await openPage(host, '#/simulator');
  await expect.poll(() => days(page)).toContain('Tue 24 Nov');
  await simulator.clockSet({ now: seconds('2027-11-24T12:00:00Z') });
  await expect.poll(() => days(page)).toContain('Wed 24 Nov');
  await simulator.clockSet({ now: seconds('2026-11-24T12:00:00Z') });
  await expect.poll(() => days(page)).toContain('Tue 24 Nov');
});

test('a day that was not in the guide yet comes once it is', async () => {
  const host = await startToday('2026-11-24T12:00:00Z');
  const simulator = await simulatorOf(host);
  const page = await openPage(host, '#/guide?at=2026-12-03T22:00');
  const news = page.getByText("Ten O'Clock Bulletin").first();
  await page.getByRole('banner').getByText('World: built-in, today').waitFor();
  await page.getByText('BBC ONE').first().waitFor();
  expect(await news.isVisible()).toBe(false);
  await simulator.clockSet({ now: seconds('2026-11-26T12:00:00Z') });
  await news.waitFor();
});
