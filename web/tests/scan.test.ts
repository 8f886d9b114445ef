// The scan's view: everybody's scan on every page, and what the service does not tell.

import type { Simulator } from '@ostrel/tv/simulator';
import type { Page } from 'playwright-core';
import { describe, expect, test } from 'vitest';
import { expectNoViolations } from './support/axe.js';
import { connected, type Host, simulatorOf, startHost } from './support/host.js';
import { allow, openPage, screenshot } from './support/page.js';
import { walk } from './support/walk.js';

/** When the six transponders of the built-in world have been visited, in seconds from the start. */
const after690 = 28;
const after722 = 32;

const button = (page: Page, name: string) => page.getByRole('button', { name, exact: true });
const percent = (page: Page) => page.getByRole('progressbar', { name: 'Scan progress' }).getAttribute('value');
const found = (page: Page) => page.locator('dl > div').evaluateAll((counters) => counters.map((counter) => counter.querySelector('dd')?.textContent));
const groups = (page: Page) => page.locator('section section h3').allInnerTexts();
const blocks = (page: Page) => page.locator('figure rect title').count();

/** Opens the view, and waits until it knows how the scan stands. */
async function open(host: Host, ...options: Parameters<typeof openPage>[2][]): Promise<Page> {
  const page = await openPage(host, '#/scan', ...options);
  await page.getByRole('progressbar').waitFor();
  return page;
}

/** Steps a scan of the band to where it has just found the services at 690 MHz, with a look at the step before. */
async function stepTo690(page: Page, simulator: Simulator): Promise<void> {
  for (const [seconds, wanted] of [[after690 - 1, '56'], [1, '58']] as const) {
    await simulator.clockStep({ seconds });
    await expect.poll(() => percent(page)).toBe(wanted);
  }
  await expect.poll(() => blocks(page)).toBe(21);
}

/** A host whose lists are empty, so that there is something to find. */
async function startEmpty() {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  const tv = await connected(host.url);
  await tv.scan.transponderListDeleteAll({ sourceId: 0 });
  return { host, simulator, tv };
}

test('a scan by keyboard alone', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  const page = await open(host);
  const { press, type } = await walk(page, 'a scan');
  await page.getByRole('main').focus();
  await press('Tab', 'into the view', 'button "Scan the band"');
  await press('Tab', 'or the list', 'button "Scan the transponder list"');
  await press('Tab', 'everything is in the list already', 'button "Empty the lists…"');
  await press('Enter', 'it asks first', 'button "Cancel"');
  await press('Tab', 'the other answer', 'button "Empty both lists"');
  await press('Enter', 'both lists are empty; on to the scan', 'button "Scan the band"');
  await page.getByText('0 in the channel list').waitFor();
  await page.getByRole('textbox', { name: 'Frequency in kHz' }).focus();
  await type('722500', 'a frequency');
  await page.getByText('Taken down to 722 MHz.').waitFor();
  await press('Enter', 'it is in the list');
  await page.getByRole('list', { name: 'Added from this page' }).getByText('722 MHz').waitFor();
  await button(page, 'Scan the band').focus();
  await press('Enter', 'the scan runs', 'button "Stop"');
  await button(page, 'Stop').waitFor();
  for (let second = 0; second < after690; ++second) {
    await simulator.clockStep({ seconds: 1 });
    await expect.poll(() => percent(page)).toBe(String(Math.trunc(((second + 1) * 100) / 48)));
  }
  await expect.poll(() => found(page)).toEqual(['21', '18', '3', '0']);
  await expect.poll(() => groups(page)).toEqual(['690 MHz · channel 48 21']);
  await press('Enter', 'it is stopped, and what it found stays', 'button "Scan the band"');
  await page.getByText('Stopped at 58 %', { exact: true }).waitFor();
  expect(await blocks(page)).toBe(21);
  expect(await page.locator('ol code').allInnerTexts()).toEqual([
    'ostrel-tv scan stop', 'ostrel-tv scan blind', 'ostrel-tv transponders add --khz 722500', 'ostrel-tv transponders clear --yes',
  ]);
});

describe('everybody’s scan', () => {
  test('is the same on two pages, and on one that is opened in the middle', async () => {
    const { host, simulator } = await startEmpty();
    const [one, two] = [await open(host), await open(host)];
    await button(one, 'Scan the band').click();
    await button(two, 'Stop').waitFor();
    for (let second = 1; second <= after722; ++second) {
      await simulator.clockStep({ seconds: 1 });
      const now = String(Math.trunc((second * 100) / 48));
      for (const page of [one, two]) await expect.poll(() => percent(page)).toBe(now);
    }
    const three = await open(host);
    for (const page of [one, two, three]) {
      await expect.poll(() => found(page)).toEqual(['45', '33', '12', '0']);
      await expect.poll(() => groups(page)).toEqual(['722 MHz · channel 52 24', '690 MHz · channel 48 21']); // the newest first
      await expect.poll(() => blocks(page)).toBe(45);
      await page.getByText('Scanning · the whole band · the clock stands still').waitFor();
    }
    await screenshot(two, 'scan-running');
    await button(three, 'Stop').click();
    for (const page of [one, two, three]) await page.getByText('Stopped at 66 %', { exact: true }).waitFor();
  });

  test('to its end, with all that is on the air', async () => {
    const { host, simulator, tv } = await startEmpty();
    const page = await open(host);
    await tv.scan.start();
    await simulator.clockSet({ speed: 3600 });
    await page.getByText('Done', { exact: true }).waitFor();
    await expect.poll(() => found(page)).toEqual(['96', '72', '24', '0']);
    await page.getByText('96 new · 96 in the channel list').waitFor();
    await expect.poll(() => page.locator('section section li').count()).toBe(96);
  });

  test('over the list is not drawn as if it went over the band', async () => {
    const host = await startHost();
    const simulator = await simulatorOf(host);
    const page = await open(host);
    await button(page, 'Scan the transponder list').click();
    await button(page, 'Stop').waitFor();
    await simulator.clockStep({ seconds: 3 });
    await expect.poll(() => percent(page)).toBe('50');
    await page.getByText('Scanning · the transponder list · the clock stands still').waitFor();
    expect(await page.getByRole('img', { name: /^The band/ }).getAttribute('aria-label')).toBe('The band from 474 to 850 MHz');
    await page.getByText('The latest scan has found nothing new.').waitFor({ state: 'detached' });
    await simulator.clockStep({ seconds: 3 });
    await page.getByText('The latest scan has found nothing new.').waitFor();
  });

  test('that nobody here has started is of an unknown kind, where nothing tells', async () => {
    const host = await startHost('--hold=false', '--no-simulator');
    const tv = await connected(host.url);
    await tv.scan.start();
    const page = await open(host);
    allow(page, /404/, /WebSocket connection/);
    await page.getByText('what it goes over is not told').waitFor();
    await button(page, 'Stop').click();
    await button(page, 'Scan the band').click();
    await page.getByText(/^Scanning · the whole band/).waitFor();
  });

  test('that is refused says why, and goes on', async () => {
    const { host, simulator, tv } = await startEmpty();
    const page = await open(host);
    await simulator.weatherSet({ rules: [{ notifications: true, method: 'ITVConfig::onScanStart', delayMs: 600_000, times: 1 }] });
    await tv.scan.start(); // which the page does not know of
    await button(page, 'Scan the band').click();
    await page.getByRole('alert').getByText('NotSupported').waitFor();
    await button(page, 'Stop').waitFor();
  });
});

describe('without a word', () => {
  test('a scan goes on where its notifications get lost', async () => {
    const { host, simulator } = await startEmpty();
    const page = await open(host);
    await simulator.weatherSet({ rules: [{ notifications: true, method: 'ITVConfig::onScan*', drop: 'notification' }] });
    await simulator.clockSet({ speed: 10 });
    await page.locator('header').getByText('× 10').waitFor(); // nothing but the scan itself will make the page ask
    await button(page, 'Scan the band').click();
    await button(page, 'Stop').waitFor();
    await page.getByText('Done', { exact: true }).waitFor();
    await expect.poll(() => found(page)).toEqual(['96', '72', '24', '0']);
    await expect.poll(() => page.locator('section section li').count()).toBe(96);
  });

  test.each(['runs', 'is stopped'])('a reset forgets a scan that %s', async (how) => {
    const { host, simulator, tv } = await startEmpty();
    const page = await open(host);
    await tv.scan.start();
    await button(page, 'Stop').waitFor();
    await stepTo690(page, simulator);
    if (how === 'is stopped') await tv.scan.stop();
    if (how === 'is stopped') await page.getByText('Stopped at 58 %', { exact: true }).waitFor();
    await simulator.reset();
    await page.getByText('No scan yet').waitFor();
    await expect.poll(() => blocks(page)).toBe(0);
    await page.getByText('96 in the channel list').waitFor();
  });
});

test('a host that is gone leaves the picture, and nothing to press', async () => {
  const { host, simulator, tv } = await startEmpty();
  const page = await open(host);
  allow(page, /WebSocket connection/, /Failed to load resource/, /net::ERR_/);
  await tv.scan.start();
  await stepTo690(page, simulator);
  await host.kill();
  await expect.poll(() => button(page, 'Stop').isDisabled()).toBe(true);
  expect(await blocks(page)).toBe(21);
});

test('on a phone nothing is cut off, and Stop stays in reach', async () => {
  const { host, simulator, tv } = await startEmpty();
  await tv.scan.start();
  await simulator.clockStep({ seconds: 40 });
  for (const size of ['phone', { width: 640, height: 360 }] as const) {
    const page = await open(host, { size });
    await expect.poll(() => page.locator('section section li').count()).toBeGreaterThan(50);
    const main = page.getByRole('main');
    expect(await main.evaluate((element) => element.scrollWidth - element.clientWidth)).toBe(0);
    if (size === 'phone') await screenshot(page, 'scan-phone');
    await main.evaluate((element) => element.scrollTo(0, element.scrollHeight));
    expect(await button(page, 'Stop').evaluate((element) => {
      const { left, top, width, height } = element.getBoundingClientRect();
      return element.contains(document.elementFromPoint(left + width / 2, top + height / 2));
    })).toBe(true);
  }
});

test('axe has nothing to say, before a scan, in it and behind it', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  const tv = await connected(host.url);
  const page = await open(host);
  await page.getByText('No scan yet').waitFor();
  await expectNoViolations(page);
  await tv.scan.transponderListDeleteAll({ sourceId: 0 });
  await tv.scan.start();
  await stepTo690(page, simulator);
  await simulator.clockStep({ seconds: 17 });
  await expect.poll(() => page.locator('section section li').count()).toBe(78);
  await page.getByRole('textbox', { name: 'Frequency in kHz' }).fill('690000');
  await page.keyboard.press('Enter');
  await page.getByText('690 MHz', { exact: true }).waitFor();
  await expectNoViolations(page);
  await tv.scan.stop();
  await page.getByText(/^Stopped at \d+ %$/).waitFor();
  await expectNoViolations(page);
});
