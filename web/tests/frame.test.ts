// The frame that all views stand in: the bar, the status line, addresses, keys, sizes.

import type { Page } from 'playwright-core';
import { describe, expect, test } from 'vitest';
import type { View } from '../src/app/route.js';
import { expectNoViolations } from './support/axe.js';
import { expectNothingCut } from './support/cut.js';
import { simulatorOf, startHost } from './support/host.js';
import { openPage, screenshot } from './support/page.js';
import { walk } from './support/walk.js';

const views: readonly View[] = ['guide', 'now', 'channels', 'scan', 'query', 'traffic', 'simulator'];
const status = (page: Page) => page.getByRole('banner');

test('by keyboard alone', async () => {
  const page = await openPage(await startHost(), '#/now');
  await page.getByText('Gate and Stile').waitFor();
  const { press } = await walk(page, 'the frame');
  await press('Tab', 'the first thing offered is to skip the bar', 'link "Skip to Now"');
  await press('Tab', 'the bar begins', 'link "Guide"');
  await press('ArrowDown', 'the next view below', 'link "Now"');
  await press('ArrowDown', 'and the next', 'link "Channels"');
  await press('Enter', 'it is on show', 'link "Channels"');
  await page.getByRole('main', { name: 'Channels' }).getByText('BBC ONE').first().waitFor();
  expect(await page.title()).toBe('Channels · Ostrel TV');
  expect(new URL(page.url()).hash).toBe('#/channels');
  await press('?', 'all keys', 'button "Close"');
  await expect.poll(() => page.getByRole('dialog', { name: 'Keys' }).isVisible()).toBe(true);
  await expectNoViolations(page);
  await press('ArrowDown', 'arrows stay in the dialog', /button "Close"/);
  await press('Escape', 'and back to where it was', 'link "Channels"');
  expect(await page.getByRole('dialog').count()).toBe(0);
});

test('the bar is skipped', async () => {
  const page = await openPage(await startHost(), '#/now');
  await page.getByText('Gate and Stile').waitFor();
  const { press } = await walk(page, 'past the bar');
  await press('Tab', 'the first thing offered', 'link "Skip to Now"');
  await press('Enter', 'the view has the focus', 'main "Now"');
  expect(new URL(page.url()).hash).toBe('#/now');
});

test('a remote control has arrows alone', async () => {
  const page = await openPage(await startHost(), '#/guide');
  const { press } = await walk(page, 'without a tab key');
  await page.getByText('Gate and Stile').first().waitFor();
  expect(await press('ArrowDown', 'the first arrow leads into the view')).not.toMatch(/^(none|generic|RootWebArea)/);
  expect(await page.evaluate(() => document.querySelector('main')!.contains(document.activeElement))).toBe(true);
});

describe('addresses', () => {
  test('one that leads nowhere leads to the guide', async () => {
    const page = await openPage(await startHost(), '#/nowhere?at=x');
    await expect.poll(() => page.title()).toBe('Guide · Ostrel TV');
  });

  test('Back and Forward go from view to view', async () => {
    const page = await openPage(await startHost(), '#/guide');
    await page.getByRole('link', { name: 'Scan' }).click();
    await expect.poll(() => page.title()).toBe('Scan · Ostrel TV');
    await page.getByRole('link', { name: 'Query' }).click();
    await expect.poll(() => page.title()).toBe('Query · Ostrel TV');
    await page.goBack();
    await expect.poll(() => page.title()).toBe('Scan · Ostrel TV');
    await page.goForward();
    await expect.poll(() => page.title()).toBe('Query · Ostrel TV');
  });
});

describe('the status line', () => {
  test('shows times in the service’s zone or the viewer’s, and remembers which', async () => {
    const page = await openPage(await startHost(), '#/channels', { zone: 'America/New_York' });
    await expect.poll(() => status(page).innerText()).toMatch(/Sun 16 Oct\s+12:00:00[^]*BST\s*service/);
    await page.getByRole('button', { name: "Times are shown in the service's zone, Europe/London" }).click();
    await expect.poll(() => status(page).innerText()).toMatch(/07:00:00[^]*GMT-4\s*mine/);
    await page.reload();
    await expect.poll(() => status(page).innerText()).toMatch(/07:00:00/);
  });

  test('shows that the clock is held, runs fast, is set', async () => {
    const host = await startHost();
    const simulator = await simulatorOf(host);
    const page = await openPage(host, '#/channels');
    await expect.poll(() => status(page).innerText()).toContain('held');
    await simulator.clockSet({ speed: 60 });
    await expect.poll(() => status(page).innerText()).toContain('× 60');
    await simulator.clockSet({ speed: 1 });
    await expect.poll(() => status(page).innerText()).toContain('set');
    await simulator.clockSet({ now: Math.floor(Date.now() / 1000) });
    await expect.poll(() => status(page).innerText()).not.toMatch(/held|×|set/);
  });

  test('wears the theme that is chosen, and remembers it', async () => {
    const page = await openPage(await startHost(), '#/channels', { theme: 'light' });
    const ground = () => page.evaluate(() => getComputedStyle(document.documentElement).backgroundColor);
    const light = await ground();
    await page.getByRole('button', { name: 'Colours: system' }).click();
    await page.getByRole('button', { name: 'Colours: dark' }).waitFor();
    const dark = await ground();
    expect(dark).not.toBe(light);
    await page.reload();
    await page.getByRole('button', { name: 'Colours: dark' }).waitFor();
    expect(await ground()).toBe(dark);
  });
});

describe.each(views)('%s', (view) => {
  const open = async (size: 'desk' | 'phone') => {
    const page = await openPage(await startHost(), `#/${view}`, { size });
    await expect.poll(() => status(page).locator('[data-state=open]').count()).toBe(1);
    await page.waitForLoadState('networkidle');
    return page;
  };

  test('as it opens axe-core finds nothing wrong, and nothing is cut, at 200 % neither', async () => {
    const page = await open('desk');
    await expectNoViolations(page);
    await expectNothingCut(page);
    await page.setViewportSize({ width: 640, height: 360 }); // what is left of 1280 by 720
    await screenshot(page, `${view}-zoomed`);
    await expectNothingCut(page);
  });

  test('on a phone nothing is cut', async () => {
    const page = await open('phone');
    await screenshot(page, `${view}-phone`);
    await expectNothingCut(page);
  });
});

test('by touch on a phone', async () => {
  const page = await openPage(await startHost(), '#/guide', { size: 'phone' });
  for (const [name, title] of [['Now', 'Now'], ['Simulator', 'Simulator'], ['Guide', 'Guide']]) {
    const link = page.getByRole('navigation').getByRole('link', { name: name!, exact: true });
    const box = (await link.boundingBox())!;
    expect(box.height, name).toBeGreaterThanOrEqual(40);
    await expect.poll(async () => (await link.tap(), page.title())).toBe(`${title} · Ostrel TV`); // a slow tap is a long one
  }
});
