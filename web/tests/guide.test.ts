// The guide as a viewer meets it: by keyboard alone, by touch, and when things go otherwise than expected.

import type { Page } from 'playwright-core';
import { expect, test } from 'vitest';
import { expectNoViolations } from './support/axe.js';
import { connected, Host, noon, simulatorOf, startHost } from './support/host.js';
import { allow, openPage, screenshot } from './support/page.js';
import { swipe } from './support/touch.js';
import { walk } from './support/walk.js';

const programme = '[role=gridcell][data-kind=event]';

async function ready(page: Page): Promise<Page> {
  await page.waitForSelector(programme);
  return page;
}

/** What is selected, as it is announced. */
const selected = (page: Page) => () => page.locator('[role=gridcell][aria-selected=true]').getAttribute('aria-label');
const hash = (page: Page) => () => new URL(page.url()).hash;
const heading = (page: Page) => () => page.locator('section[aria-label="Selected programme"] h2').textContent();

test('the guide by keyboard alone', async () => {
  const page = await ready(await openPage(await startHost(), '#/guide'));
  const { press, type } = await walk(page, 'an evening with the guide');
  await press('ArrowRight', 'the next programme', 'gridcell "BBC ONE, 13:00 to 13:15, Weekend News"');
  await press('ArrowDown', 'what is on BBC TWO at that time', 'gridcell "BBC TWO, 12:00 to 14:00, Greasepaint and Glory, on now"');
  await press('ArrowUp', 'back: the time is kept, not the column', 'gridcell "BBC ONE, 13:00 to 13:15, Weekend News"');
  await press('Home', 'what is on now', 'gridcell "BBC ONE, 12:00 to 13:00, Gate and Stile, on now"');
  await expectNoViolations(page);
  await screenshot(page, 'guide');

  await type('15', 'a channel by its number');
  expect(await page.getByRole('status').filter({ hasText: 'Film4' }).textContent()).toBe('15 Film4');
  await press('Enter', 'taken at once', /^gridcell "Film4, /);
  await press('9', 'another, without Enter: taken a moment later', /^gridcell "BBC FOUR, /);
  await press('PageDown', 'a screen of channels down', /^gridcell "(?!BBC FOUR)/);
  await press('PageUp', 'and up', /^gridcell "BBC FOUR, /);
  await type('10', 'a channel without guide');
  await press('Enter', 'it has a place all the same', 'gridcell "ITV3, no guide data"');
  await type('1', 'the first channel');
  await press('Enter', 'again', /^gridcell "BBC ONE, /);
  await press(']', 'a day on', /^gridcell "BBC ONE, /);
  await expect.poll(hash(page)).toBe('#/guide?at=2011-10-17T12:00&channel=1');
  await press('[', 'a day back', 'gridcell "BBC ONE, 12:00 to 13:00, Gate and Stile, on now"');

  await press('Enter', 'details', 'button "Raw"');
  await press('Enter', 'the document, as the service sends it', /button/);
  await expect.poll(() => page.locator('dialog pre').textContent()).toContain('"Title": "Gate and Stile"');
  await press('Escape', 'closed', 'button "Raw"');
  await press('ArrowRight', 'the next button', 'button "Copy query"');
  await press('ArrowRight', 'and the next', 'button "Episodes"');
  await press('Enter', 'when else it is on', /button/);
  await expect.poll(() => page.locator('dialog li').count()).toBeGreaterThan(1);
  await expectNoViolations(page);
  await press('Escape', 'closed', 'button "Episodes"');
  await press('Escape', 'back in the guide', /^gridcell "BBC ONE, 12:00/);

  await press('/', 'search', 'searchbox "Search titles and descriptions"');
  await type('sunday stad', 'a part of a title');
  await press('Enter', 'the next one that matches, wherever it is', 'gridcell "BBC TWO, 14:00 to 17:00, Sunday Stadium"');
  expect(hash(page)()).toContain('text=sunday+stad');
  expect(await page.locator('[role=gridcell][class*=out]').count()).toBeGreaterThan(5);
  await press('f', 'the guide alone, for a television', /^gridcell/);
  expect(await page.locator('nav').count()).toBe(0);
  await press('i', 'with what is selected');
  await expect.poll(heading(page)).toBe('Sunday Stadium');
  await screenshot(page, 'guide-show');
  await press('Escape', 'without');
  await press('Escape', 'and the page again', /^gridcell/);
  await press('?', 'all keys');
  await page.getByRole('dialog').getByText('A day back, or on').waitFor();
  await press('Escape', 'closed', /^gridcell/);
  await press('Shift+Tab', 'one tab stop: the field before the grid', /button "A day on"/);
  await press('Tab', 'the grid', /^gridcell/);
  await press('Tab', 'what comes behind it', 'button "Raw"');
});

test('a link shows another person the same', async () => {
  const page = await ready(await openPage(await startHost(), '#/guide?at=2011-10-16T20:00&channel=4&genre=movie&only=1'));
  await expect.poll(heading(page)).toBe('Postcode Portraits');
  expect(await page.getByLabel('Genre').inputValue()).toBe('movie');
  // What is selected stays, whether it matches or not.
  const words = page.locator(`${programme}:not([aria-selected=true]) > span`);
  const metas = await words.evaluateAll((texts) => texts.map((text) => (text as HTMLElement).dataset.meta));
  expect(metas.filter((meta) => !meta?.endsWith('Film'))).toEqual([]);
  expect(metas.length).toBeGreaterThan(5);
});

test('times are those of the viewer, when wanted', async () => {
  const page = await ready(await openPage(await startHost(), '#/guide', { zone: 'Asia/Kathmandu' }));
  await expect.poll(selected(page)).toBe('BBC ONE, 12:00 to 13:00, Gate and Stile, on now');
  await page.getByRole('button', { name: 'Times are shown in' }).click();
  await expect.poll(selected(page)).toBe('BBC ONE, 16:45 to 17:45, Gate and Stile, on now');
});

test('the view goes with the clock: a step, a jump of days, and back', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  const page = await ready(await openPage(host, '#/guide'));
  await expect.poll(selected(page)).toContain('Gate and Stile, on now');
  await simulator.clockStep({ seconds: 3600 });
  await expect.poll(selected(page)).toBe('BBC ONE, 13:00 to 13:15, Weekend News, on now');
  await simulator.clockSet({ now: noon + 2 * 86_400 });
  await expect.poll(selected(page)).toMatch(/^BBC ONE, .*, on now$/);
  await expect.poll(() => page.getByLabel('Day', { exact: true }).evaluate((day: HTMLSelectElement) => day.selectedOptions[0]?.text)).toBe('Today 18 Oct');
  await simulator.clockSet({ now: noon });
  await expect.poll(selected(page)).toBe('BBC ONE, 12:00 to 13:00, Gate and Stile, on now');
  expect(hash(page)()).toBe('#/guide');
});

test('what somebody looks at stays in sight when the clock is set', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  const page = await ready(await openPage(host, '#/guide?at=2011-10-17T20:00'));
  const before = await selected(page)();
  await simulator.clockSet({ now: noon + 300 * 86_400 });
  await expect.poll(() => page.locator('header time').textContent()).toBe('12:00:00');
  expect(await selected(page)()).toBe(before);
});

test('the last picture stays while there is no service, and is asked for anew behind that', async () => {
  const host = await startHost();
  const page = await ready(await openPage(host, '#/guide'));
  allow(page, /\/rpc|Simulator/); // nobody is there for a while
  const grid = page.locator('[data-connection]');
  await host.kill();
  await expect.poll(() => grid.getAttribute('data-connection')).not.toBe('open');
  expect(await selected(page)()).toContain('Gate and Stile');
  expect(await page.locator(programme).count()).toBeGreaterThan(20);
  await Host.start(host.address, '--hold');
  await expect.poll(() => grid.getAttribute('data-connection')).toBe('open');
  await page.keyboard.press(']');
  await expect.poll(selected(page)).toBe('BBC ONE, 12:00 to 13:00, Heirlooms at Dawn');
});

test('a service that refuses says why, and may be asked again', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  await simulator.weatherSet({ rules: [{ method: 'ITVGuide::queryEventInfo', error: 'OutOfMemory' }] });
  const page = await openPage(host, '#/guide');
  await page.getByRole('alert').getByText('OutOfMemory').waitFor();
  await expectNoViolations(page);
  await simulator.weatherSet({ rules: [] });
  await page.getByRole('button', { name: 'Try again' }).click();
  await ready(page);
  expect(await page.getByRole('alert').count()).toBe(0);
});

test('a service that refuses its time says why, and may be asked again', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  await simulator.weatherSet({ rules: [{ method: 'ITVService::utcTimeGet', error: 'OutOfMemory' }] });
  const page = await openPage(host, '#/guide');
  await page.getByRole('alert').getByText('ITVService::utcTimeGet').waitFor();
  for (const view of ['Now', 'Query']) {
    await page.getByRole('link', { name: view }).click();
    await page.getByRole('main', { name: view }).getByRole('alert').getByText('ITVService::utcTimeGet').waitFor();
  }
  await simulator.weatherSet({ rules: [] });
  await page.getByRole('button', { name: 'Try again' }).click();
  await page.getByRole('table', { name: 'Events' }).waitFor();
  await page.getByRole('link', { name: 'Guide' }).click();
  await ready(page);
});

test('a guide without channels leads to the scan, and fills when there are some', async () => {
  const host = await startHost('--hold=false');
  const tv = await connected(host.url);
  await tv.service.list();
  await tv.service.serviceListDeleteAll();
  const page = await openPage(host, '#/guide');
  await page.getByText('No channels yet').waitFor();
  await expectNoViolations(page);
  await (await simulatorOf(host)).clockSet({ speed: 60 });
  await tv.scan.start();
  await ready(page);
});

test('by touch, on a phone', async () => {
  const page = await ready(await openPage(await startHost(), '#/guide', { size: 'phone' }));
  await page.locator(programme).filter({ hasText: 'Greasepaint and Glory' }).tap();
  await expect.poll(heading(page)).toBe('Greasepaint and Glory');
  const place = { x: 250, y: 450 };
  await swipe(page, place, { y: -250 });
  await expect.poll(() => page.locator('[role=row][aria-rowindex="1"]').count()).toBe(0);
  const firstTick = () => page.locator('[class*=tick]').first().textContent();
  const before = await firstTick();
  await swipe(page, place, { x: -230 });
  await expect.poll(firstTick).not.toBe(before);
  expect(await page.evaluate(() => document.documentElement.scrollWidth)).toBe(390);
  await expectNoViolations(page);
  await screenshot(page, 'guide-phone');
});
