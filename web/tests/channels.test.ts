// Both lists, and the cursor of a context as a line in them.

import type { Page } from 'playwright-core';
import { expect, test } from 'vitest';
import { moved, type Operation } from '../src/views/channels/cursor';
import { expectNoViolations } from './support/axe.js';
import { startBigWorld } from './support/bigWorld.js';
import { measureFrames } from './support/frames.js';
import { connected, Host, simulatorOf, startHost } from './support/host.js';
import { allow, openPage, screenshot } from './support/page.js';
import { recordCalls } from './support/sent.js';
import { walk } from './support/walk.js';

/** What is read off the line in the table; empty where there is none. */
const line = (page: Page) => page.locator('[data-cursor]').allTextContents().then((texts) => texts.join());
const expectLine = (page: Page, text: string) => expect.poll(() => line(page)).toBe(text);
const latest = (page: Page) => page.getByRole('log').getByRole('listitem').first().textContent();
const rowAt = (page: Page, place: number) => page.getByRole('button', { name: new RegExp(`^Place ${place}, `) });
const marked = (page: Page) => page.locator('[data-mark]').evaluateAll((rows) => rows.map((row) => row.getAttribute('aria-rowindex')));
/** Channel numbers have up to four digits. */
const expectNumbersWhole = async (page: Page) =>
  expect(await page.locator('[role=row] > :nth-child(2)').evaluateAll((all) => all.filter((each) => each.scrollWidth > each.clientWidth).map((each) => each.textContent))).toEqual([]);

test('the cursor by keyboard alone', async () => {
  const host = await startHost();
  const tv = await connected(host.url);
  const page = await openPage(host, '#/channels');
  await expectLine(page, '0');
  const { press, type } = await walk(page, 'a cursor in the list');
  await press('Tab', 'the first thing offered is to skip the bar', 'link "Skip to Channels"');
  await press('Enter', 'the view has the focus', 'main "Channels"');
  await press('Tab', 'which list', 'button "All services 96"');
  await press('Tab', 'the other one', 'button "Found by the latest scan 0"');
  await press('Tab', 'what is odd about URIs', 'button "Why? Two dots in the URI"');
  await press('Tab', 'and about ids', 'button "Why? The first one gets the guide"');
  await press('Tab', 'the list is one stop', 'button "Place 0, 1 BBC ONE"');
  await press('ArrowDown', 'the next service', 'button "Place 1, 2 BBC TWO"');
  await press('ArrowDown', 'and the next', 'button "Place 2, 3 ITV1"');
  await press('Enter', 'the cursor moves before it', 'button "Place 2, 3 ITV1"');
  await expectLine(page, '2');
  await press('r', 'five services are read, and the cursor moves behind them');
  await expectLine(page, '7');
  expect(await marked(page)).toEqual(['4', '5', '6', '7', '8']);
  await press('g', 'five are got, and it stays');
  await expect.poll(() => marked(page)).toEqual(['9', '10', '11', '12', '13']);
  await expectLine(page, '7');
  await press(',', 'back by one');
  await expectLine(page, '6');
  await press('>', 'to the end, which is a place of its own');
  await expectLine(page, '96 end');
  await press('.', 'on is refused there');
  await expect.poll(() => latest(page)).toContain('InvalidParameter refused; the cursor stays at 96');
  await press('<', 'to the start');
  await expectLine(page, '0');
  await page.getByLabel('Number', { exact: true }).focus();
  await type('4', 'a channel number');
  await press('Enter', 'the cursor finds it', 'spinbutton "Number"');
  await expectLine(page, '3');
  await page.getByRole('button', { name: 'Delete the one at the cursor' }).focus();
  await press('Enter', 'nothing goes unasked', 'button "Cancel"');
  expect(await page.getByRole('dialog', { name: 'Delete 4 Channel 4?' }).textContent()).toContain('everybody shares it');
  await press('Escape', 'rather not', 'button "Delete the one at the cursor"');
  expect((await tv.service.list()).length).toBe(96);
  await press('Enter', 'again', 'button "Cancel"');
  await press('Tab', 'this time', 'button "Delete"');
  await press('Enter', 'it is gone', 'button "Delete the one at the cursor"');
  await page.getByRole('button', { name: 'All services 95' }).waitFor();
  await expectLine(page, '3');
  expect((await tv.service.list()).map(({ name }) => name)).not.toContain('Channel 4'); // for everybody
  await expectNoViolations(page);
  await screenshot(page, 'channels');
});

test('the line is where the cursor is, whatever is done', async () => {
  const tv = await connected((await startHost()).url);
  const context = await tv.service.createContext();
  const call = ({ name, payload }: Operation) => tv.call(`ITVService::${name}` as string, payload, { context });
  const services = await tv.service.list();
  let random = 1;
  const below = (limit: number) => (random = (random * 48_271) % 2_147_483_647) % limit; // always the same numbers
  const operations: (() => Operation)[] = [
    () => ({ name: 'serviceListSeek', payload: { offset: below(40) - 20, whence: below(4) } }),
    () => ({ name: 'serviceListSeekByChannelNumber', payload: { channelNumber: below(60) } }),
    () => ({ name: 'serviceListSeekByUri', payload: { uri: services[below(96)]!.uri } }),
    () => ({ name: 'serviceListGet', payload: { limit: below(30) } }),
    () => ({ name: 'serviceListRead', payload: { limit: [below(30), 4_294_967_295][below(2)]! } }),
    () => ({ name: 'serviceListDelete', payload: undefined }),
    () => ({ name: 'serviceListSet', payload: { base: 'all' } }),
  ];
  let position = moved(7, { name: 'serviceListSet', payload: { base: 'all' } }, await call({ name: 'serviceListSet', payload: { base: 'all' } }));
  const done = new Map<string, number>();
  for (let i = 0; i < 300; i += 1) {
    const operation = operations[below(operations.length)]!();
    const result = await call(operation).catch(() => undefined);
    if (result !== undefined) position = moved(position, operation, result);
    const key = `${operation.name} ${result === undefined ? 'refused' : 'done'}`;
    done.set(key, (done.get(key) ?? 0) + 1);
    expect(await call({ name: 'serviceListSeek', payload: { offset: 0, whence: 1 } })).toBe(position);
  }
  expect([...done.keys()].filter((key) => key.endsWith('done')).length).toBe(operations.length);
});

test('what is odd is told beside it', async () => {
  const host = await startHost();
  const page = await openPage(host, '#/channels');
  await expectLine(page, '0');
  await page.getByLabel('Counted from').selectOption('whence 3');
  await page.getByRole('button', { name: 'Seek', exact: true }).click();
  await expect.poll(() => latest(page)).toContain('serviceListSeek({ offset: 1, whence: 3 })-32000 InvalidParameter refused; the cursor stays at 0');
  await page.getByRole('log').getByRole('button', { name: 'Why? Lock left held' }).click();
  expect(await page.getByRole('dialog').textContent()).toContain('docs/oddities.md, “Lock left held”');
  await page.keyboard.press('Escape');

  await page.getByLabel('How many services').fill('4294967295');
  await page.getByRole('button', { name: 'Get', exact: true }).click();
  await expect.poll(() => latest(page)).toContain('96 services; the cursor stays at 0');
  await page.keyboard.press('.');
  await expectLine(page, '1');
  await page.getByRole('button', { name: 'Get', exact: true }).click();
  await expect.poll(() => latest(page)).toContain('nothing; the limit has wrapped');
  await page.getByRole('log').getByRole('button', { name: 'Why? A limit that wraps' }).waitFor();

  await page.getByLabel('URI', { exact: true }).fill('DVB://233A..1041');
  await page.keyboard.press('Enter');
  await expect.poll(() => latest(page)).toContain('InvalidParameter');
  await page.getByLabel('URI', { exact: true }).fill('dvb://233a..20c0');
  await page.keyboard.press('Enter');
  await expectLine(page, '3');
});

test('the cursor is nobody else’s, and stays while other views are on show', async () => {
  const host = await startHost();
  const tv = await connected(host.url);
  const page = await openPage(host, '#/channels');
  const calls = recordCalls(page);
  await page.reload();
  await expectLine(page, '0');
  await rowAt(page, 5).click();
  await expectLine(page, '5');
  await tv.service.list();
  await tv.service.serviceListSeek({ offset: 9, whence: 0 });
  await page.getByRole('link', { name: 'Guide' }).click();
  await page.getByRole('link', { name: 'Channels' }).click();
  await expectLine(page, '5');
  await page.keyboard.press('r');
  await expectLine(page, '10');
  const contexts = calls.map(({ method }) => method).filter((method) => method.endsWith('Context'));
  expect(contexts.length).toBe(2); // the page's own, and the cursor's
  expect(contexts.filter((method) => !method.endsWith('createContext'))).toEqual([]); // it would end everybody's scan
});

test('a cursor that a shorter list leaves behind stands beyond its end', async () => {
  const host = await startHost();
  const tv = await connected(host.url);
  const page = await openPage(host, '#/channels');
  await expectLine(page, '0');
  await page.keyboard.press('>');
  await expectLine(page, '96 end');
  await tv.service.list();
  await tv.service.serviceListDelete();
  await page.keyboard.press(','); // nobody tells of it
  await expectLine(page, '95');
  await page.keyboard.press('g'); // but nothing comes
  await expectLine(page, '95 end');
  await tv.service.serviceListDelete();
  await page.keyboard.press('.');
  await expectLine(page, '95 beyond the end, 94');
  expect(await latest(page)).toContain('InvalidParameter');
  await page.keyboard.press('<');
  await expectLine(page, '0');
});

test('what the latest scan has found is a list of its own', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  const tv = await connected(host.url);
  const page = await openPage(host, '#/channels?list=new');
  await page.getByRole('heading', { name: 'No scan has added a service' }).waitFor();
  expect(await page.getByRole('link', { name: 'Scan', exact: true }).last().getAttribute('href')).toBe('#/scan');
  await page.keyboard.press('Delete'); // refused, so that there is nothing to ask
  await expect.poll(() => latest(page)).toContain('InvalidState');
  await expectNoViolations(page);

  await tv.scan.transponderListDeleteAll({ sourceId: 0 });
  await tv.scan.start();
  const done = new Promise((resolve) => tv.on('scanComplete', resolve));
  await simulator.clockStep({ seconds: 600 });
  await done;
  await rowAt(page, 0).waitFor();
  await page.getByRole('button', { name: 'Found by the latest scan 96' }).waitFor();
  await page.keyboard.press('.');
  await expectLine(page, '1');
  await page.keyboard.press('l');
  await page.getByRole('button', { name: 'All services 96', pressed: true }).waitFor();
  expect(new URL(page.url()).hash).toBe('#/channels');
  await expectLine(page, '0');
});

test('after a reset no list is selected until one is', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  const page = await openPage(host, '#/channels');
  await expectLine(page, '0');
  await simulator.reset();
  await page.keyboard.press('.');
  await expect.poll(() => latest(page)).toContain('InvalidState');
  await page.getByText('No list is selected.').waitFor();
  expect(await line(page)).toBe('');
  await page.getByRole('button', { name: /^All services/ }).click();
  await expectLine(page, '0');
});

test('while the service is away the list stays, and a new connection has a new cursor', async () => {
  const host = await startHost();
  const page = await openPage(host, '#/channels');
  allow(page, /WebSocket|Failed to load resource|ERR_/);
  await expectLine(page, '0');
  await rowAt(page, 4).click();
  await expectLine(page, '4');
  await host.kill();
  await expect.poll(() => page.getByRole('grid').evaluate((grid) => getComputedStyle(grid).filter)).toBe('grayscale(1)');
  expect(await page.getByRole('button', { name: 'Read' }).isDisabled()).toBe(true);
  expect(await rowAt(page, 0).textContent()).toBe('0');
  await screenshot(page, 'channels-away');
  await Host.start(host.address, '--hold');
  await expectLine(page, '0');
  await page.keyboard.press('.');
  await expectLine(page, '1');
});

test('a refusal says what was refused', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  await simulator.weatherSet({ rules: [{ method: '*::serviceListGet', error: 'TimedOut', times: 2 }] });
  const page = await openPage(host, '#/channels');
  const alert = page.getByRole('alert');
  await expect.poll(() => alert.textContent()).toContain('ITVService::serviceListGet');
  await alert.getByRole('button', { name: 'Try again' }).click();
  await rowAt(page, 0).waitFor();
});

test('a thousand services are as light as a hundred', async () => {
  const page = await openPage(await startBigWorld(await startHost()), '#/channels');
  allow(page, /Simulator/); // there is none
  await rowAt(page, 0).waitFor();
  const drawn = await page.getByRole('row').count();
  const frames = await measureFrames(page, async () => {
    await rowAt(page, 0).focus();
    await page.keyboard.press('End');
    await rowAt(page, 999).waitFor();
    await expectNumbersWhole(page);
    await page.keyboard.press('Home');
    for (let i = 0; i < 40; i += 1) await page.keyboard.press('PageDown');
  });
  console.log(`1,000 rows, ${drawn} drawn:`, frames);
  expect(frames.mostNodes).toBeLessThan(1500);
  expect(await page.getByRole('row').count()).toBeLessThanOrEqual(2 * drawn);
});

test('by touch, on a phone', async () => {
  const page = await openPage(await startHost(), '#/channels', { size: 'phone' });
  await expectLine(page, '0');
  await rowAt(page, 2).tap();
  await expectLine(page, '2');
  await page.getByRole('button', { name: 'Read' }).tap();
  await expectLine(page, '7');
  expect(await page.evaluate(() => document.documentElement.scrollWidth)).toBe(390);
  await expectNoViolations(page);
  await screenshot(page, 'channels-phone');
});
