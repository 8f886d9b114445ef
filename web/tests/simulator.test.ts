// The simulator's view: what its controls do to the service, and what others do to it while it is shown.

import type { Page } from 'playwright-core';
import { describe, expect, test } from 'vitest';
import { expectNoViolations } from './support/axe.js';
import { connected, noon, simulatorOf, startHost } from './support/host.js';
import { allow, openPage, screenshot } from './support/page.js';
import { walk } from './support/walk.js';

const reading = (page: Page) => page.locator('main time').innerText();
const shows = (page: Page, time: string) => expect.poll(() => reading(page)).toBe(time);
const isRefused = [/WebSocket connection/, /Failed to load resource/, /net::ERR_/];

async function open(...more: string[]) {
  const host = await startHost(...more);
  const simulator = await simulatorOf(host);
  const page = await openPage(host, '#/simulator');
  await page.getByRole('heading', { name: 'Weather' }).waitFor();
  return { host, simulator, page };
}

test('the clock by keyboard alone', async () => {
  const { simulator, page } = await open();
  const { press, type } = await walk(page, 'the clock');
  await shows(page, '12:00:00');
  const clock = async () => {
    const { now, speed } = await simulator.clockGet();
    return [now - noon, speed];
  };
  await press('.', 'a second passes');
  await shows(page, '12:00:01');
  await press(',', 'a minute passes');
  await shows(page, '12:01:01');
  await press('n', 'five seconds before the next programme');
  await expect.poll(clock).toEqual([895, 0]);
  await shows(page, '12:14:55');
  await press('Space', 'the clock runs');
  await expect.poll(async () => (await clock())[1]).toBe(1);
  await page.getByText('runs as usual', { exact: true }).waitFor();
  await press('Space', 'and stands still again');
  await expect.poll(async () => (await clock())[1]).toBe(0);
  await page.getByText('stands still', { exact: true }).waitFor();

  await page.getByRole('main').focus();
  await press('Tab', 'into the view', 'button "Run"');
  await press('Space', 'the button does what it says, once');
  await expect.poll(async () => (await clock())[1]).toBe(1);
  await press('Tab', 'the speed', 'slider "Speed"');
  await press('End', 'as fast as it goes');
  await expect.poll(async () => (await clock())[1]).toBe(3600);
  await press('Home', 'it stands still');
  await expect.poll(async () => (await clock())[1]).toBe(0);
  for (const mark of ['0: stands still', '1: runs as usual']) await press('Tab', 'a mark of it', `button "Speed ${mark}"`);
  await press('Tab', 'another', 'button "Speed 10: 10 s in a second"');
  await press('Space', 'the space bar is the mark’s own');
  await expect.poll(async () => (await clock())[1]).toBe(10);
  for (let marks = 3; marks > 0; --marks) await press('Tab', 'another');
  await press('Tab', 'the speed as a number', /^spinbutton "Speed as a number"/);
  await press('Control+a', 'all of it');
  await type('0.25', 'a quarter of the speed');
  await press('Enter', 'taken');
  await expect.poll(async () => (await clock())[1]).toBe(0.25);
  expect(await page.locator('ol code').allInnerTexts()).toEqual([
    'ostrel-tv clock speed 0.25', 'ostrel-tv clock run', 'ostrel-tv clock hold', 'ostrel-tv clock run',
    'ostrel-tv clock step next --before 5s', 'ostrel-tv clock step 60s', 'ostrel-tv clock step 1s',
  ]);
});

test('steps to the next programme of one service, and is set to a time of the chosen zone', async () => {
  const { simulator, page } = await open();
  await page.getByLabel('Whose next programme').selectOption({ label: '1 BBC ONE' });
  await page.getByLabel('Seconds before the next programme').fill('90');
  await page.getByRole('button', { name: 'Go' }).click();
  await shows(page, '12:58:30');
  await page.getByLabel('Set to').fill('2011-10-17T20:15');
  await page.getByRole('button', { name: 'Set', exact: true }).click();
  await shows(page, '20:15:00');
  expect((await simulator.clockGet()).now).toBe(Date.UTC(2011, 9, 17, 19, 15) / 1000);
  await page.getByRole('button', { name: "Guide's start" }).click();
  await expect.poll(async () => (await simulator.clockGet()).now).toBe((await simulator.worldGet()).start);
  await page.getByLabel('The clock, within the days of the guide').press('End');
  await expect.poll(async () => (await simulator.clockGet()).now).toBe((await simulator.worldGet()).end);
  await page.getByRole('button', { name: 'Go' }).click();
  await page.getByRole('alert').getByText('InvalidParameter').waitFor(); // nothing starts any more
});

test('is set in the viewer’s own zone where that is chosen', async () => {
  const host = await startHost();
  const page = await openPage(host, '#/simulator', { zone: 'Asia/Tokyo' });
  await page.getByRole('button', { name: /^Times are shown in/ }).click();
  await shows(page, '20:00:00');
  await page.getByLabel('Set to').fill('2011-10-16T21:00');
  await page.getByRole('button', { name: 'Set', exact: true }).click();
  await shows(page, '21:00:00');
  expect((await (await simulatorOf(host)).clockGet()).now).toBe(noon + 3600);
});

test('the weather by keyboard alone', async () => {
  const { host, simulator, page } = await open();
  const { press, type } = await walk(page, 'the weather');
  await page.getByRole('button', { name: 'Slow backend' }).focus();
  await press('ArrowRight', 'the next preset', 'button "One in ten fails"');
  await press('ArrowRight', 'and the next', 'button "Scan notifications lost"');
  await press('Enter', 'it is on');
  await page.getByRole('row', { name: /ITVConfig::onScan\*/ }).waitFor();
  expect((await simulator.weatherGet()).rules).toMatchObject([{ method: 'ITVConfig::onScan*', notifications: true, drop: 'notification' }]);
  await press('Enter', 'it is off again');
  await page.getByText('Every call is answered at once').waitFor();
  await page.getByLabel('Method, * for any text').focus();
  await press('Control+a', 'the pattern');
  await type('ITVGuide::getGenre*', 'other methods');
  await press('Tab', 'how late', /^spinbutton "Late by, milliseconds"/);
  await press('Tab', 'at most', /^spinbutton "At most, milliseconds"/);
  await press('Tab', 'what then', /^combobox "Then"/);
  await type('fail with Tim', 'an error');
  await press('Tab', 'how many pass', /^spinbutton "After the first"/);
  await type('1', 'one');
  await press('Tab', 'how often', /^spinbutton "Times"/);
  await type('1', 'once');
  expect(await page.locator('form code').innerText()).toBe("ostrel-tv weather add --method 'ITVGuide::getGenre*' --error TimedOut --after 1 --times 1");
  await press('Enter', 'it is added');
  const rule = page.getByRole('row', { name: /getGenre/ });
  await rule.waitFor();
  const tv = await connected(host.url);
  await tv.guide.getGenreStringMapList();
  await expect(tv.guide.getGenreStringMapList()).rejects.toMatchObject({ name: 'TimedOut' });
  await expect.poll(() => rule.locator('td').allInnerTexts()).toEqual(['2', '1', '']);
  await rule.getByText('once, done').waitFor();
  await rule.getByRole('button').focus();
  await press('Enter', 'the rule is removed', /^paragraph "Every call is answered at once/);
  await expect.poll(async () => (await simulator.weatherGet()).rules).toEqual([]);
});

test('a rule that has done its part is on again at a click', async () => {
  const { host, simulator, page } = await open();
  const preset = page.getByRole('button', { name: 'Cut the connection' });
  await simulator.weatherSet({ rules: [{ drop: 'connection', times: 1 }], seed: 7 });
  await expect.poll(() => preset.getAttribute('aria-pressed')).toBe('true');
  const tv = await connected(host.url); // which measures the clock
  await expect.poll(() => preset.getAttribute('aria-pressed')).toBe('false');
  tv.close();
  await preset.click();
  await expect.poll(async () => (await simulator.weatherGet()).seed).toBe(7);
  await expect.poll(() => page.locator('ol code').first().innerText()).toBe(`echo '{"rules":[{"times":1,"drop":"connection"}],"seed":7}' | ostrel-tv weather set -`);
});

describe('what others do', () => {
  test('shows at once', async () => {
    const { simulator, page } = await open();
    await simulator.clockSet({ now: noon + 3600 });
    await shows(page, '13:00:00');
    await simulator.clockSet({ speed: 60 });
    await page.getByText('1 min in a second').waitFor();
    await simulator.weatherSet({ rules: [{ method: 'ITVGuide::*', delayMs: 5 }] });
    await page.getByRole('row', { name: /ITVGuide::\*.*5 ms late/ }).waitFor();
    await simulator.reset();
    await expect.poll(() => reading(page)).toMatch(/^12:00:/);
    await page.getByText('Every call is answered at once').waitFor();
  });

  test('shows in the worst weather too', async () => {
    const { simulator, page } = await open();
    await simulator.weatherSet({ rules: [{ error: 'GenericFailure' }] });
    await simulator.clockSet({ now: noon + 7200 });
    await shows(page, '14:00:00');
    await simulator.clockSet({ speed: 3600 });
    await expect.poll(() => reading(page)).not.toBe('14:00:00');
  });
});

test('the signal', async () => {
  const { host, simulator, page } = await open();
  const tv = await connected(host.url);
  await page.getByRole('slider', { name: 'Strength' }).press('End');
  await page.getByRole('slider', { name: 'Quality' }).press('PageUp');
  await expect.poll(() => tv.service.signalStatusGet({ sourceId: 3 })).toEqual({ strength: 100, quality: 10 });
  await simulator.reset();
  await expect.poll(() => page.getByRole('slider', { name: 'Strength' }).inputValue()).toBe('0');
});

test('a reset asks first', async () => {
  const { simulator, page } = await open();
  await simulator.clockSet({ now: noon + 3600 });
  await page.getByRole('button', { name: 'Reset everything' }).click();
  await page.keyboard.press('Enter'); // the safe answer
  await page.getByRole('dialog').waitFor({ state: 'detached' });
  expect((await simulator.clockGet()).now).toBe(noon + 3600);
  await page.getByRole('button', { name: 'Reset everything' }).click();
  await page.getByRole('button', { name: 'Reset', exact: true }).click();
  await expect.poll(() => reading(page)).toMatch(/^12:00:/);
});

test('a service that cannot be steered says so', async () => {
  const host = await startHost('--hold=false', '--no-simulator');
  const page = await openPage(host, '#/simulator');
  allow(page, ...isRefused);
  await page.getByRole('heading', { name: 'This service cannot be steered' }).waitFor();
  await page.getByText('--no-simulator').waitFor();
  await expectNoViolations(page);
});

test('a host that is gone leaves what was shown, and nothing to press', async () => {
  const { host, page } = await open();
  allow(page, ...isRefused);
  await shows(page, '12:00:00');
  await host.kill();
  await expect.poll(() => page.getByRole('button', { name: 'Run', exact: true }).isDisabled()).toBe(true);
  expect(await reading(page)).toBe('12:00:00');
});

test('on a phone nothing is cut off, and at twice the size', async () => {
  const host = await startHost();
  for (const size of ['phone', { width: 640, height: 360 }] as const) {
    const page = await openPage(host, '#/simulator', { size });
    await page.getByRole('heading', { name: 'Weather' }).waitFor();
    expect(await page.evaluate(() => document.querySelector('main')!.scrollWidth - document.querySelector('main')!.clientWidth)).toBe(0);
    if (size === 'phone') await screenshot(page, 'simulator-phone');
  }
});

test('axe has nothing to say', async () => {
  const { simulator, page } = await open();
  await simulator.weatherSet({ rules: [{ method: 'ITVGuide::*', delayMs: [200, 800], after: 2, times: 3 }, { drop: 'connection', times: 0 }] });
  await page.getByRole('row', { name: /ITVGuide/ }).waitFor();
  await page.keyboard.press('.');
  await shows(page, '12:00:01');
  await expectNoViolations(page);
  await screenshot(page, 'simulator');
});
