// The query view: an expression from its first letter to its answer, what is refused, the form, and a host that goes.

import type { Page } from 'playwright-core';
import { expect, test } from 'vitest';
import { expectNoViolations } from './support/axe.js';
import { measureFrames } from './support/frames.js';
import { Host, noon, startHost } from './support/host.js';
import { allow, openPage, screenshot } from './support/page.js';
import { walk, type Walk } from './support/walk.js';

const summary = (page: Page) => page.getByLabel('Results').getByRole('status');
const expectSummary = (page: Page, wanted: RegExp) => expect.poll(() => summary(page).textContent()).toMatch(wanted);
const rows = (page: Page) => page.getByRole('table', { name: 'Events' });
const editor = (page: Page) => page.getByLabel('Expression', { exact: true }).and(page.locator('textarea'));
const asking = (expression: string) => `#/query?q=${encodeURIComponent(expression)}`;
const params = (page: Page) => new URLSearchParams(new URL(page.url()).hash.split('?')[1]);

/** Presses a key until something has the focus. */
async function reach({ press, focus }: Walk, key: string, wanted: RegExp): Promise<void> {
  for (let i = 0; i < 30 && !wanted.test(await focus()); ++i) await press(key, 'on the way');
  expect(await focus()).toMatch(wanted);
}

test('an expression by keyboard alone', async () => {
  const host = await startHost();
  const page = await openPage(host, '#/query');
  await expectSummary(page, /^\d+ events in/);
  const keys = await walk(page, 'an expression, completed as it is typed, asked and looked at');
  const { press, type } = keys;
  await press('Tab', 'to skip the bar', 'link "Skip to Query"');
  await press('Enter', 'to the view', 'main "Query"');
  await reach(keys, 'Tab', /^textbox "Expression"/);
  await press('End', 'behind the last letter', 'textbox "Expression"');
  await press('ArrowDown', 'an arrow leads out of the text', 'button "Ask"');
  await press('ArrowUp', 'and back', 'textbox "Expression"');
  await press('Control+a', 'the first example is selected', 'textbox "Expression"');
  await type('s', 'fields are offered that begin so');
  await press('ArrowDown', 'the first of them', /^option "ServiceId/);
  await press('Enter', 'it stands in the text, and operators are offered', 'textbox "Expression"');
  await type('== bbc t', 'services are offered by their names');
  await expectNoViolations(page);
  await press('Tab', 'the first one is taken: BBC TWO, by its id', 'textbox "Expression"');
  expect(await editor(page).inputValue()).toBe('ServiceId == 1044');
  await press('Control+z', 'Undo takes that back', 'textbox "Expression"');
  expect(await editor(page).inputValue()).toBe('ServiceId == bbc t');
  await press('Control+Space', 'the services are offered again');
  await press('Tab', 'and taken again');
  expect(await editor(page).inputValue()).toBe('ServiceId == 1044');
  await type(' && ', 'fields are offered');
  await press('Escape', 'the list is closed');
  await expectNoViolations(page);
  await type(`End > ${noon} && Start < ${noon + 3600}`, 'the rest is typed');
  expect(await page.getByText('11 of 20 nodes').count()).toBe(1);
  await press('Enter', 'it is asked');
  await expectSummary(page, /^\d events? in [\d.]+ m?s$/);
  expect(params(page).get('q')).toBe(`ServiceId == 1044 && End > ${noon} && Start < ${noon + 3600}`);
  const first = rows(page).getByRole('row').nth(1);
  expect(await first.textContent()).toContain('BBC TWO');
  await expectNoViolations(page);
  await press('Alt+ArrowUp', 'the query of before', 'textbox "Expression"');
  await press('Tab', 'past the editor', 'button "History"');
  await press('Enter', 'the queries of before, the latest first', /^button "ServiceId == 1044/);
  await press('Escape', 'back to the button', 'button "History"');
  await press('ArrowRight', 'beside it', 'button "Ask"');
  await press('ArrowDown', 'below it, in the results', 'link "JSON"');
  await press('Enter', 'the same as JSON');
  await expect.poll(() => page.getByLabel('Documents').textContent()).toContain('"progSchedule"');
  await press('ArrowRight', 'to what is beside it', 'link "XML"');
  await press('Enter', 'and as XML');
  await expect.poll(() => page.getByLabel('Documents').textContent()).toContain('<ServiceId>1044</ServiceId>');
  await press('ArrowDown', 'into the documents', /^region "Documents"/);
  await expectNoViolations(page);
  await reach(keys, 'Shift+Tab', /^link "Table"/);
  await press('Enter', 'and as a table again');
  await expect.poll(() => rows(page).getByRole('row').count()).toBeGreaterThan(1);
  await screenshot(page, 'query');
});

test('a mistake is shown where it is, and refused by the service', async () => {
  const host = await startHost();
  const page = await openPage(host, asking('End > 5'));
  const { type, press } = await walk(page, 'a mistake, and its way out');
  await expectSummary(page, /events/);
  await editor(page).focus();
  await press('Control+a', 'all of the text is selected');
  await type('ServiceId != 1043', 'what is typed is no expression');
  expect(await editor(page).getAttribute('aria-invalid')).toBe('true');
  const reading = await editor(page).getAttribute('aria-describedby');
  await expect.poll(() => page.locator(`[id="${reading}"]`).textContent()).toBe('At letter 11: there is no "not" in the query language');
  expect(await page.locator('pre[aria-hidden] span[class*=wrong]').textContent()).toBe('!');
  await press('Enter', 'the service refuses it');
  const failure = page.getByRole('alert');
  await expect.poll(() => failure.textContent()).toContain('NotSupported');
  expect(await failure.textContent()).toMatch(/ITVGuide::query.*-32000/s);
  expect(await failure.getByRole('button', { name: 'Copy as curl' }).count()).toBe(1);
  await expectNoViolations(page);
  await press('Control+a', 'all of the text is selected');
  await type('Title ==', 'nothing is wrong yet, but something is missing');
  expect(await page.getByText('Next: a field or a number is expected').count()).toBe(1);
  await type(' 5', 'a name that is no field');
  await press('Enter', 'it is valid, and finds nothing');
  await expectSummary(page, /^0 events/);
  expect(await page.getByText('there is no field Title').count()).toBe(1);
  expect(await page.getByRole('heading', { name: 'No event matches' }).count()).toBe(1);
});

test('what is painted lies where it is typed', async () => {
  const host = await startHost();
  const words = `ServiceId   in  (${'1000, '.repeat(11)}1012) && `;
  const page = await openPage(host, asking(`${words}\n!! "é😀 ${'1'.repeat(80)}`), { size: 'phone' });
  await expect.poll(() => editor(page).inputValue()).toContain('!!');
  // The field must be as high as the picture below it, or its text has other line breaks.
  const heights = await page.evaluate(() => {
    const field = document.querySelector('textarea')!;
    const ink = document.querySelector('pre[aria-hidden]')!;
    return [field.scrollHeight, field.clientHeight, ink.clientHeight];
  });
  expect(new Set(heights).size).toBe(1);
  const { x, width } = (await editor(page).boundingBox())!;
  expect(x + width).toBeLessThan(390);
  await page.getByRole('button', { name: 'Make them blanks' }).click();
  expect(await editor(page).inputValue()).not.toContain('\n');
});

test('the whole guide, of which what is in sight alone is drawn', async () => {
  const host = await startHost();
  const page = await openPage(host, '#/query?q=+');
  await expectSummary(page, /^11,658 events/);
  const table = rows(page);
  expect(await table.getAttribute('aria-rowcount')).toBe('11659');
  await table.focus();
  const frames = await measureFrames(page, async () => {
    for (let i = 0; i < 20; ++i) await page.keyboard.press('PageDown');
    await page.keyboard.press('End');
    await expect.poll(() => page.locator('[aria-rowindex="11659"]').count()).toBe(1);
  });
  console.log('whole guide, scrolled:', frames);
  expect(frames.mostNodes).toBeLessThan(1500);
});

test('the form by keyboard alone', async () => {
  const host = await startHost();
  const page = await openPage(host, '#/query');
  await expectSummary(page, /events/);
  const keys = await walk(page, 'a query by its members');
  const { press, type } = keys;
  await press('ArrowDown', 'into the view', 'link "Expression"');
  await press('ArrowRight', 'to the other way', 'link "Form"');
  await press('Enter', 'the form, begun with two hours from now');
  await expectSummary(page, /^\d+ events/);
  await press('Tab', 'to the services', /combobox "Services"/i);
  await type('1043', 'one is named by its id');
  await press('Enter', 'it is among the chosen', /combobox "Services"/i);
  const sent = page.getByLabel('The payload');
  await expect.poll(async () => JSON.parse((await sent.textContent())!)).toEqual({
    query: { timeRange: { base: noon, limit: noon + 7200 }, serviceIdList: [1043] },
  });
  await reach(keys, 'Tab', /"Texts"/);
  await type('Gate', 'a text that the title must have');
  await press('Enter', 'it is among the texts');
  await reach(keys, 'Tab', /"Order"/);
  await press('ArrowDown', 'by service', /combobox "Order"/i);
  await reach(keys, 'Tab', /^button "Ask"/);
  await press('Enter', 'it is asked');
  await expectSummary(page, /^1 event in/);
  expect(await rows(page).getByRole('row').nth(1).textContent()).toContain('Gate and Stile');
  const form = JSON.parse(params(page).get('form')!);
  expect(form).toEqual({ timeRange: { base: noon, limit: noon + 7200 }, serviceIdList: [1043], stringList: ['Gate'], orderByServiceIdPriority: 0 });
  await expectNoViolations(page);
  await screenshot(page, 'query-form');
  await page.goBack();
  await expect.poll(() => params(page).get('form')).not.toContain('Gate');
  await expectSummary(page, /^\d{2,} events/);
});

test('what was found stays while the host is away, and is asked again', async () => {
  const host = await startHost();
  const page = await openPage(host, asking(`ServiceId == 1043 && Start == ${noon}`));
  allow(page, /WebSocket|Failed to load resource|502|ERR_/);
  await expectSummary(page, /^1 event/);
  await host.stop();
  await expectSummary(page, /^No connection/);
  expect(await rows(page).getByRole('row').nth(1).textContent()).toContain('Gate and Stile');
  await editor(page).fill('ServiceId == 1044 && End > 0 && Start < 1318762801 && End > 1318762800');
  await page.keyboard.press('Enter');
  await Host.start(host.address, '--hold');
  await expectSummary(page, /^1 event/);
  expect(await rows(page).getByRole('row').nth(1).textContent()).toContain('BBC TWO');
});
