// What is on the air now: cards that move by the service's clock.

import type { Tv } from '@ostrel/tv';
import type { Page } from 'playwright-core';
import { expect, test } from 'vitest';
import { expectNoViolations } from './support/axe.js';
import { startBigWorld } from './support/bigWorld.js';
import { measureFrames } from './support/frames.js';
import { connected, Host, noon, simulatorOf, startHost } from './support/host.js';
import { allow, openPage, screenshot } from './support/page.js';
import { recordCalls } from './support/sent.js';
import { walk } from './support/walk.js';

const one = 1043; // the guide's number of BBC ONE
const cardOf = (page: Page, number: number) => page.getByRole('gridcell').getByRole('button', { name: new RegExp(`^${number} `) });

/** Waits until what follows is known of every card on show: then nothing is being asked. */
const settled = (page: Page) => expect.poll(() => page.locator('[role=gridcell] [aria-hidden=true][class*=shape]').count()).toBe(0);

test('the cards by keyboard alone', async () => {
  const host = await startHost();
  const page = await openPage(host, '#/now');
  await cardOf(page, 1).waitFor();
  const { press } = await walk(page, 'what is on now');
  const first = 'button "1 BBC ONE, 12:00 to 13:00, Gate and Stile"';
  await press('Tab', 'the first thing offered is to skip the bar', 'link "Skip to Now"');
  await press('Enter', 'the view has the focus', 'main "Now"');
  await press('Tab', 'how the cards are filtered', 'button "All 73"');
  await press('ArrowRight', 'by kind', 'button "Television 53"');
  await press('ArrowRight', 'radio', 'button "Radio 20"');
  await press('Enter', 'radio alone', 'button "Radio 20"');
  expect(new URL(page.url()).hash).toBe('#/now?kind=radio');
  await press('ArrowDown', 'the cards begin', /^button "700 BBC Radio 1, /);
  await press('End', 'the last card', /^button "725 Premier Radio, /);
  await press('Home', 'the first', /^button "700 BBC Radio 1, /);
  await press('ArrowUp', 'above the first row is the filter', /^button "(All|Television) /);
  await press('Home', 'keys of the cards mean nothing there', /^button "(All|Television) /);
  await press('ArrowLeft', 'all of them', 'button "All 73"');
  await press('Enter', 'all services again', 'button "All 73"');
  expect(new URL(page.url()).hash).toBe('#/now');
  await press('ArrowDown', 'the cards', first);
  await press('ArrowRight', 'the card beside', /^button "2 BBC TWO, /);
  await press('ArrowDown', 'the card below', /^button "6 ITV2, /);
  await press('PageDown', 'a screen of cards', /^button "\d\d /);
  await press('Home', 'the first', first);
  await press('Enter', 'all about it', 'button "Close"');
  expect(await page.getByRole('dialog').textContent()).toContain('leisure hobbies');
  await press('Escape', 'back at the card', first);
  await press('Tab', 'the cards are one stop', /^(?!button "\d)/);
  await press('Shift+Tab', 'and the way back leads to the same card', first);
  await settled(page);
  await expectNoViolations(page);
  await screenshot(page, 'now');
});

test('at the junction a card moves on by itself, and only what is on show is asked for', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  const page = await openPage(host, '#/now');
  const calls = recordCalls(page);
  await page.reload();
  await cardOf(page, 1).waitFor();
  await settled(page);
  const shown = await page.getByRole('gridcell').count();
  expect(shown).toBeLessThan(40); // of 73: the others are not drawn

  await simulator.clockStep({ toNextStart: { serviceId: one, before: 1 } });
  await expect.poll(() => cardOf(page, 1).textContent()).toContain('1 min left');
  await settled(page);
  calls.length = 0;
  await simulator.clockStep({ seconds: 1 });
  await expect.poll(() => cardOf(page, 1).textContent()).toMatch(/Weekend News.*Next 13:15.*The Tin Admiral/);
  await settled(page);

  expect(calls.map(({ method }) => method).filter((method) => !/queryNowNextEventInfo|utcTimeGet/.test(method))).toEqual([]);
  const asked = calls.filter(({ method }) => method.endsWith('queryNowNextEventInfo'));
  expect(asked.length).toBeGreaterThan(1);
  expect(asked.length).toBeLessThanOrEqual(shown);
  expect(new Set(asked.map(({ message }) => message)).size).toBe(1);
});

test('a service that goes off the air has no card until it is back', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  const tv = await connected(host.url);
  const page = await openPage(host, '#/now?kind=radio');
  const extra = 706; // BBC R5SX
  await cardOf(page, 700).waitFor();
  const { id } = (await tv.service.list()).find(({ channelNumber }) => channelNumber === extra)!;
  expect(await cardOf(page, extra).count()).toBe(0); // it begins half an hour later
  const { now } = await simulator.clockStep({ toNextStart: { serviceId: id } });
  await cardOf(page, extra).focus();
  const { now: event } = await tv.service.nowNext(id);
  await simulator.clockStep({ seconds: event!.endTime - now });
  await expect.poll(() => cardOf(page, extra).count()).toBe(0);
  await expect.poll(() => page.evaluate(() => document.activeElement?.getAttribute('aria-label'))).toMatch(/^707 /); // the one in its place
  await simulator.clockStep({ toNextStart: { serviceId: id } });
  await cardOf(page, extra).waitFor();
});

/** The moments between two times at which something ends or begins on the services. */
async function junctions(tv: Tv, from: number, to: number): Promise<number> {
  const events = await tv.guide.window({ from, to: to + 1 });
  const times = events.flatMap(({ startTime, endTime }) => [startTime, endTime]).filter((time) => time > from && time <= to);
  return new Set(times).size;
}

test('a clock that runs fast makes no storm of calls', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  const tv = await connected(host.url);
  const page = await openPage(host, '#/now');
  const calls = recordCalls(page);
  await page.reload();
  await cardOf(page, 1).waitFor();
  await settled(page);
  calls.length = 0;
  await simulator.clockSet({ speed: 3600 });
  await expect.poll(() => cardOf(page, 1).getAttribute('aria-label')).toContain('Two Keys, One Door'); // at three
  const { now } = await simulator.clockSet({ speed: 0 });
  await settled(page);

  const messages = (method: string) => new Set(calls.filter((call) => call.method.endsWith(method)).map(({ message }) => message)).size;
  const changes = await junctions(tv, noon, now);
  expect(changes).toBeGreaterThan(5);
  expect(messages('queryNowNextEventInfo')).toBeLessThanOrEqual(changes);
  const pages = calls.filter(({ payload }) => payload?.query?.timeRange?.strict);
  const events = (await tv.guide.window({ from: noon, to: now + 6000 + 3600 })).length;
  expect(pages.length).toBeLessThanOrEqual(Math.ceil(events / 250) + 1);
  expect(calls.filter(({ method }) => method.endsWith('serviceListGet'))).toEqual([]);
});

test('a clock that is set elsewhere is followed, out of the guide and back', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  const { start } = await simulator.worldGet();
  const page = await openPage(host, '#/now');
  await cardOf(page, 1).waitFor();
  await simulator.clockSet({ now: noon + 86_400 });
  await expect.poll(() => cardOf(page, 1).getAttribute('aria-label')).not.toContain('Gate and Stile');
  await simulator.clockSet({ now: start - 3600 });
  await page.getByRole('heading', { name: 'Nothing is on the air' }).waitFor();
  expect(await page.getByRole('link', { name: 'Set the clock' }).getAttribute('href')).toBe('#/simulator');
  await expectNoViolations(page);
  await simulator.clockSet({ now: noon });
  await expect.poll(() => cardOf(page, 1).getAttribute('aria-label')).toContain('Gate and Stile');
});

test('while the service is away the last picture stays, and goes on when it is back', async () => {
  const host = await startHost();
  const page = await openPage(host, '#/now');
  allow(page, /WebSocket|Failed to load resource|ERR_/);
  const calls = recordCalls(page);
  await page.reload();
  await cardOf(page, 1).waitFor();
  await host.kill();
  await expect.poll(() => page.getByRole('grid').evaluate((grid) => getComputedStyle(grid).filter)).toBe('grayscale(1)');
  expect(await cardOf(page, 1).textContent()).toContain('Gate and Stile');
  await screenshot(page, 'now-away');
  calls.length = 0;
  const simulator = await simulatorOf(await Host.start(host.address, '--hold'));
  // It may be another world by now.
  await expect.poll(() => calls.filter(({ payload }) => payload?.query && payload.query.timeRange.strict !== true).length).toBe(1);
  await simulator.clockStep({ seconds: 3600 });
  await expect.poll(() => cardOf(page, 1).getAttribute('aria-label')).toContain('Weekend News');
  await expect.poll(() => page.getByRole('grid').evaluate((grid) => getComputedStyle(grid).filter)).toBe('none');
});

test('a refusal says what was refused, and how to try again', async () => {
  const host = await startHost();
  const simulator = await simulatorOf(host);
  await simulator.weatherSet({ rules: [{ method: '*::queryEventInfo', error: 'OutOfMemory', times: 2 }] });
  const page = await openPage(host, '#/now');
  const alert = page.getByRole('alert');
  await alert.waitFor();
  expect(await alert.textContent()).toContain('ITVGuide::queryEventInfo');
  await alert.getByRole('button', { name: 'Try again' }).click();
  await cardOf(page, 1).waitFor();
});

test('a filter that nothing fits offers the way back', async () => {
  const page = await openPage(await startHost(), '#/now?kind=radio&genre=children');
  await page.getByRole('heading', { name: 'Nothing of that kind is on' }).waitFor();
  await page.getByRole('button', { name: 'Show all' }).click();
  await cardOf(page, 1).waitFor();
  await page.getByRole('button', { name: /^Film/ }).click();
  expect(new URL(page.url()).hash).toBe('#/now?genre=movie');
  await expect.poll(() => cardOf(page, 1).count()).toBe(0);
  await cardOf(page, 5).waitFor(); // Siesta in Sicily
});

test('a thousand services are as light as a hundred', async () => {
  const page = await openPage(await startBigWorld(await startHost()), '#/now');
  allow(page, /Simulator/); // there is none
  const calls = recordCalls(page);
  await page.reload();
  await page.getByRole('button', { name: 'All 1000' }).waitFor();
  await settled(page);
  const drawn = await page.getByRole('gridcell').count();
  const frames = await measureFrames(page, async () => {
    await cardOf(page, 1).focus();
    await page.keyboard.press('End');
    await cardOf(page, 1000).waitFor();
    await page.keyboard.press('Home');
    for (let i = 0; i < 20; i += 1) await page.keyboard.press('PageDown');
  });
  await settled(page);
  console.log(`1,000 cards, ${drawn} drawn:`, frames);
  expect(frames.mostNodes).toBeLessThan(1500);
  expect(await page.getByRole('gridcell').count()).toBeLessThanOrEqual(2 * drawn);
  // What is on is asked for once, or again where the clock was measured better, and what follows of what came into sight.
  expect(calls.filter(({ payload }) => payload?.query?.timeRange?.strict === undefined && payload?.query !== undefined).length).toBeLessThanOrEqual(2);
  expect(calls.filter(({ method }) => method.endsWith('queryNowNextEventInfo')).length).toBeLessThan(1000);
});

test('by touch, on a phone', async () => {
  const page = await openPage(await startHost(), '#/now', { size: 'phone' });
  await cardOf(page, 1).tap();
  await page.getByRole('dialog', { name: 'Gate and Stile' }).waitFor();
  await page.getByRole('button', { name: 'Close' }).tap();
  await page.getByRole('button', { name: /^Radio/ }).tap();
  await cardOf(page, 700).waitFor();
  expect(await page.evaluate(() => document.documentElement.scrollWidth)).toBe(390);
  await settled(page);
  await expectNoViolations(page);
  await screenshot(page, 'now-phone');
});
