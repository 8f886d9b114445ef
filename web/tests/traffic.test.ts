// What passes between the service and its clients, looked into; and calls that are made from here.

import { spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { readFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import type { Page } from 'playwright-core';
import { expect, onTestFinished, test } from 'vitest';
import { WebSocket } from 'ws';
import { expectNoViolations } from './support/axe.js';
import { measureFrames, measureHeap } from './support/frames.js';
import { connected, Host, startHost } from './support/host.js';
import { allow, openPage, screenshot } from './support/page.js';
import { walk } from './support/walk.js';

const tool = process.env.OSTREL_TV ?? fileURLToPath(new URL('../../build/release/clients/tool/ostrel-tv', import.meta.url));

/** Another client, which has made calls that go well and one that does not. */
async function somebodyElse(host: Host) {
  const other = await connected(host.url);
  await other.service.list();
  await expect(other.call<string>('ITVService::serviceListSeek', { offset: 1, whence: 7 })).rejects.toThrow();
  return other;
}

const rows = (page: Page, text: string | RegExp) => page.getByRole('grid').getByRole('row').filter({ hasText: text });

test('a call of another client by keyboard alone: found, opened, made again', async () => {
  const host = await startHost();
  await somebodyElse(host);
  const page = await openPage(host, '#/traffic');
  await rows(page, 'serviceListSeek').waitFor();
  const { press, type } = await walk(page, 'a call that went wrong');
  await press('/', 'look for a text', 'searchbox "Text in messages"');
  await type('whence', 'of a call that somebody asks about');
  await expect.poll(() => page.getByRole('grid').getAttribute('aria-rowcount')).toBe('2');
  await press('Escape', 'to the list', 'grid "Traffic"');
  await press('ArrowUp', 'the newest is chosen', /^row ".*serviceListSeek.*InvalidParameter"$/);
  await expectNoViolations(page);
  await press('Enter', 'it is opened; the list keeps the focus', /^row ".*serviceListSeek/);
  const details = page.getByRole('region', { name: 'Details' });
  await details.getByRole('tree', { name: 'Request' }).getByRole('treeitem', { name: 'whence: 7' }).waitFor();
  await details.getByRole('tree', { name: 'Reply' }).getByRole('treeitem', { name: '"InvalidParameter"' }).waitFor();
  await expectNoViolations(page);
  await screenshot(page, 'traffic-details');
  await press('Tab', 'what leads to the newest', 'button "Jump to the end"');
  for (const language of ['curl', 'TypeScript', 'C++', 'ostrel-tv'])
    await press('Tab', 'the call to take along', `button "Copy as ${language}"`);
  await press('Tab', 'to make it again', 'button "Call again"');
  await press('Enter', 'its form, filled in', 'textbox "offset"');
  expect(new URL(page.url()).hash).toBe('#/traffic?q=whence&call=ITVService::serviceListSeek');
  expect(await page.getByRole('combobox', { name: 'whence' }).inputValue()).toBe('-1'); // 7 is none of its values
  expect(await page.getByText('wants 0 or 1 or 2').count()).toBeGreaterThan(0);
  expect(await page.getByText('with the context of this page').count()).toBe(1);
  await expectNoViolations(page);
  await press('Enter', 'made all the same');
  await page.getByRole('alert').getByText('InvalidState', { exact: true }).waitFor(); // this page has selected no list
  await page.getByRole('heading', { name: 'Make a call' }).click();
  await press('Escape', 'back to the messages', 'grid "Traffic"');
  expect(new URL(page.url()).hash).toBe('#/traffic?q=whence');
  await rows(page, /this page.*serviceListSeek/).waitFor();
});

test('P holds the list and lets it go, E leaves what went wrong', async () => {
  const host = await startHost();
  const other = await somebodyElse(host);
  const page = await openPage(host, '#/traffic');
  await rows(page, 'serviceListSeek').waitFor();
  const { press } = await walk(page, 'only what went wrong');
  await press('p', 'the list stands still');
  await other.call('ITVService::nothing').catch(() => {});
  await page.getByRole('button', { name: /new, jump to the end/ }).waitFor();
  expect(await rows(page, 'MethodNotFound').count()).toBe(0);
  await press('p', 'and goes on');
  await rows(page, 'MethodNotFound').waitFor();
  await press('e', 'what went well is gone');
  await expect.poll(() => page.getByRole('grid').getAttribute('aria-rowcount')).toBe('3');
  expect(new URL(page.url()).hash).toBe('#/traffic?only=errors');
  await press('c', 'a form', 'textbox "expression"');
  await page.getByRole('button', { name: 'Messages' }).focus();
  await press('Enter', 'and back, to what was seen before', 'grid "Traffic"');
  expect(new URL(page.url()).hash).toBe('#/traffic?only=errors');
});

test('a call by hand: checked, made, answered, and seen to pass', async () => {
  const host = await startHost();
  const page = await openPage(host, '#/traffic?call=ITVService::serviceListGet');
  const { press, type } = await walk(page, 'a call by hand');
  await page.getByRole('textbox', { name: 'limit' }).focus();
  await press('Control+a', 'all that is there', 'textbox "limit"');
  await type('-1', 'is too little');
  await page.getByRole('button', { name: 'Call anyway' }).waitFor();
  expect(await page.getByRole('status').filter({ hasText: 'limit wants 0 to 4294967295' }).count()).toBe(1);
  await press('Control+a', 'once more', 'textbox "limit"');
  await type('3', 'is as described');
  expect(await page.getByRole('textbox', { name: 'payload' }).inputValue()).toBe('{\n  "limit": 3\n}');
  await page.getByRole('link', { name: 'serviceListSet', exact: true }).click();
  await page.getByRole('combobox', { name: 'base' }).selectOption({ label: 'all' });
  await page.getByRole('button', { name: 'Call', exact: true }).click();
  await page.getByRole('tree', { name: 'Result' }).getByRole('treeitem', { name: 'true' }).waitFor();
  await page.getByRole('link', { name: 'serviceListGet', exact: true }).click();
  await page.getByRole('textbox', { name: 'limit' }).fill('3');
  await page.getByRole('textbox', { name: 'limit' }).focus();
  await press('Enter', 'called');
  await page.getByRole('treeitem', { name: '[ 3 elements ]' }).waitFor();
  await page.getByRole('treeitem', { name: 'name: "BBC ONE"' }).waitFor();
  await expectNoViolations(page);
  await screenshot(page, 'traffic-call');
  await page.getByRole('button', { name: 'Messages' }).click();
  await rows(page, /serviceListGet.*"limit":3.*ok/).waitFor();
  await rows(page, /this page.*serviceListSet/).waitFor();
});

test('what is saved is sent again by ostrel-tv replay', async () => {
  const host = await startHost();
  await somebodyElse(host);
  const page = await openPage(host, '#/traffic?method=*Seek');
  await rows(page, 'serviceListSeek').waitFor();
  const download = page.waitForEvent('download');
  await page.getByRole('button', { name: 'Save' }).click();
  const file = await (await download).path();
  const messages = readFileSync(file, 'utf8').trim().split('\n').map((line) => JSON.parse(line) as { method: string });
  expect(new Set(messages.map(({ method }) => method))).toEqual(new Set(['ITVService::createContext', 'ITVService::serviceListSeek']));
  const again = await startHost();
  const { status, stdout, stderr } = spawnSync(tool, ['--url', again.url, 'replay', file, '--speed', 'max', '--json'], { encoding: 'utf8' });
  expect({ status, stderr }).toEqual({ status: 0, stderr: '' });
  expect(JSON.parse(stdout.trim().split('\n').at(-1)!)).toMatchObject({ requests: messages.length / 2, leftOut: 0 });
});

test('without a simulator this page sees itself', async () => {
  const host = await Host.start('127.0.0.1:0', '--no-simulator');
  await somebodyElse(host);
  const page = await openPage(host, '#/traffic');
  allow(page, /Simulator/); // it is not there, which is how the page finds out
  await page.getByText('without its simulator').waitFor();
  await rows(page, /this page.*createContext.*ok/).waitFor();
  expect(await rows(page, 'serviceListSeek').count()).toBe(0);
  await expectNoViolations(page);
});

test('a host that is started again: the old picture stays, and where something was missed', async () => {
  const host = await startHost();
  await somebodyElse(host);
  const page = await openPage(host, '#/traffic');
  allow(page, /./); // it complains of what is not there
  await rows(page, 'serviceListSeek').waitFor();
  await host.kill();
  await page.getByRole('status').filter({ hasText: /reconnecting|no answer/ }).waitFor();
  expect(await rows(page, 'serviceListSeek').count()).toBe(1);
  await Host.start(host.address);
  await rows(page, 'What passed in between was not seen').waitFor();
  expect(await rows(page, 'serviceListSeek').count()).toBe(1);
});

/** Sends requests with a text of so many bytes in each, and waits for all replies. */
async function storm(socket: WebSocket, count: number, bytes: number, last: string): Promise<void> {
  const text = 'x'.repeat(bytes);
  const ask = (id: number, method: string) => socket.send(JSON.stringify({ jsonrpc: '2.0', id, method, params: { text } }));
  const done = new Promise<void>((resolve) => {
    let left = count;
    socket.on('message', function receive() {
      if (--left > 0) return;
      socket.off('message', receive);
      resolve();
    });
  });
  for (let id = 1; id < count; ++id) ask(id, 'ITVGuide::nothing');
  ask(count, last);
  await done;
}

test('a storm: the list stays small, what is kept is bounded, and it stands still while somebody reads', async () => {
  const host = await startHost();
  const page = await openPage(host, '#/traffic');
  await rows(page, 'createContext').waitFor();
  const socket = new WebSocket(`${host.url}/rpc/TV`, 'jsonrpc');
  await once(socket, 'open');
  onTestFinished(() => socket.close());

  const before = await measureHeap(page);
  const rounds = 10; // 40 MB of texts
  const { mostNodes } = await measureFrames(page, async () => {
    for (let round = 1; round <= rounds; ++round) {
      await storm(socket, 250, 16_000, `Round::number${round}`);
      await rows(page, new RegExp(`number${round}\\b`)).waitFor(); // the page is as far
    }
  });
  expect(mostNodes).toBeLessThan(700);
  expect(await measureHeap(page) - before).toBeLessThan(30e6);

  await page.getByRole('grid').focus();
  await page.keyboard.press('ArrowUp');
  await page.keyboard.press('PageUp');
  const chosen = () => page.locator('[role=row][aria-selected=true]').innerText();
  const text = await chosen();
  await storm(socket, 1500, 10, 'Round::last');
  await page.getByRole('button', { name: '1,500 new, jump to the end' }).waitFor();
  expect(await chosen()).toBe(text);
  await page.getByRole('button', { name: /jump to the end/ }).click();
  await rows(page, 'Round::last').waitFor();
});
