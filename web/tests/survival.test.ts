// What happens to a page while it is open: the host goes and comes back, the clock leaps, a token expires, another origin asks.

import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { once } from 'node:events';
import type { AddressInfo } from 'node:net';
import { tmpdir } from 'node:os';
import type { Page } from 'playwright-core';
import { describe, expect, onTestFinished, test } from 'vitest';
import { expectNoViolations } from './support/axe.js';
import { Host, noon, simulatorOf, startHost } from './support/host.js';
import { allow, openPage, originOf, screenshot, startBrowser } from './support/page.js';
import { recordCalls } from './support/sent.js';

const status = (page: Page) => page.getByRole('banner').innerText();
const away = [/ERR_CONNECTION_REFUSED/, /ERR_EMPTY_RESPONSE/, /ERR_CONNECTION_RESET/, /WebSocket connection to/, /status of 50\d/];

/** A file with a token, gone when the test ends. */
function tokenFile(token: string): string {
  const folder = mkdtempSync(`${tmpdir()}/ostrel-`);
  onTestFinished(() => rmSync(folder, { recursive: true }));
  writeFileSync(`${folder}/token`, `${token}\n`, { mode: 0o600 });
  return `${folder}/token`;
}
const token = (name: string) => name.padEnd(40, '-');

describe('the host is stopped and started', () => {
  test('the page says so, counts down, and comes back by itself', async () => {
    const host = await startHost();
    const page = await openPage(host, '#/guide');
    const programme = page.getByText('Gate and Stile').first();
    allow(page, ...away);
    await programme.waitFor();
    await host.kill();
    await expect.poll(() => status(page)).toMatch(/reconnecting in \d+ s/);
    await expect.poll(() => status(page)).toMatch(/reconnecting in [4-8] s/); // the pauses grow
    expect(await programme.isVisible()).toBe(true);
    await screenshot(page, 'survival-away');
    await expectNoViolations(page);
    await Host.start(host.address, '--hold');
    await expect.poll(() => status(page)).toContain('connected');
    expect(await status(page)).toContain('12:00:00');
    expect(await programme.isVisible()).toBe(true);
  });

  test('with its clock elsewhere, which the page shows then', async () => {
    const host = await startHost();
    const page = await openPage(host, '#/now');
    allow(page, ...away);
    await expect.poll(() => status(page)).toMatch(/Sun 16 Oct\s+12:00:00/);
    await host.kill();
    await Host.start(host.address, '--hold', '--fake-time=false'); // today
    await expect.poll(() => status(page)).toContain('connected');
    expect(await status(page)).not.toContain('Sun 16 Oct');
  });

  test('without its simulator, and with it again', async () => {
    const host = await startHost();
    const page = await openPage(host, '#/simulator');
    allow(page, ...away, /status of 404/);
    await expect.poll(() => status(page)).toContain('service');
    await host.kill();
    const second = await Host.start(host.address, '--no-simulator');
    await expect.poll(() => status(page)).toContain('mine'); // the service's zone is its simulator's to tell
    await second.kill();
    await Host.start(host.address, '--hold');
    await expect.poll(() => status(page)).toContain('service');
  });
});

describe('the clock leaps', () => {
  test('an hour ahead, as after a night’s sleep of the host', async () => {
    const host = await startHost();
    const simulator = await simulatorOf(host);
    const page = await openPage(host, '#/now');
    await expect.poll(() => status(page)).toContain('12:00:00');
    await simulator.clockStep({ seconds: 3600 });
    await expect.poll(() => status(page)).toContain('13:00:00');
  });

  test('the machine of the page sleeps for an hour, and the host does not', async () => {
    const host = await startHost('--hold=false');
    const simulator = await simulatorOf(host);
    const page = await openPage(host, '#/now');
    await expect.poll(() => status(page)).toContain('12:00:');
    const session = await page.context().newCDPSession(page);
    await session.send('Emulation.setVirtualTimePolicy', { policy: 'pause' }); // its timers and its clock stand
    await simulator.clockStep({ seconds: 3600 });
    await session.send('Emulation.setVirtualTimePolicy', { policy: 'realtime' as 'advance' }).catch(() =>
      session.send('Emulation.setVirtualTimePolicy', { policy: 'advance' }));
    await expect.poll(() => status(page)).toContain('13:00:');
  });
});

test('the machine wakes, and nobody tells: the page asks for the time', async () => {
  const host = await Host.start('127.0.0.1:0', '--no-simulator');
  const page = await openPage(host, '#/now');
  allow(page, /Simulator/);
  const calls = recordCalls(page);
  await page.reload();
  await expect.poll(() => status(page)).toContain('connected');
  const questions = () => calls.filter(({ method }) => method === 'ITVService::utcTimeGet').length;
  await page.getByText('Gate and Stile').first().waitFor(); // it knows the time
  const before = questions();
  await page.evaluate(() => {
    const now = Date.now.bind(Date);
    Date.now = () => now() + 3_600_000; // only the clock of the wall goes on while a machine sleeps
  });
  await expect.poll(questions, { timeout: 15_000 }).toBeGreaterThan(before); // by itself it asks every 30 s
});

describe('a token', () => {
  test('in the address is kept for the tab, and leaves the address and the history', async () => {
    const host = await startHost('--token-file', tokenFile(token('first')));
    const page = await openPage(host, `#token=${token('first')}`);
    await expect.poll(() => status(page)).toContain('connected');
    expect(page.url()).not.toContain('token');
    await page.getByRole('link', { name: 'Scan' }).click();
    await page.goBack();
    expect(page.url()).not.toContain('token');
    await page.reload();
    await expect.poll(() => status(page)).toContain('connected');

    const other = await openPage(host, '#/now', { beside: page });
    allow(other, /WebSocket connection to/, /status of 401/);
    await other.getByRole('heading', { name: 'This service wants a token' }).waitFor();
    await screenshot(other, 'survival-token');
    await expectNoViolations(other);
  });

  test('goes with the view that the address names', async () => {
    const host = await startHost('--token-file', tokenFile(token('first')));
    const page = await openPage(host, `#/scan?token=${token('first')}`);
    await expect.poll(() => status(page)).toContain('connected');
    expect(new URL(page.url()).hash).toBe('#/scan');
  });

  test('is asked for when it has expired, and the page goes on where it was', async () => {
    const host = await startHost('--token-file', tokenFile(token('first')));
    const page = await openPage(host, `#/channels?token=${token('first')}`);
    allow(page, ...away, /status of 401/);
    await expect.poll(() => status(page)).toContain('connected');
    await host.kill();
    await Host.start(host.address, '--hold', '--token-file', tokenFile(token('second')));
    await page.getByRole('heading', { name: 'The token is not taken any more' }).waitFor();
    await page.getByLabel('Token').fill(token('second'));
    await page.keyboard.press('Enter');
    await expect.poll(() => status(page)).toContain('connected');
    expect(new URL(page.url()).hash).toBe('#/channels');
  });

  test('in an address that is opened in the tab that was asked for one', async () => {
    const host = await startHost('--token-file', tokenFile(token('first')));
    const page = await openPage(host, '#/scan');
    allow(page, /WebSocket connection to/, /status of 401/);
    await page.getByRole('heading', { name: 'This service wants a token' }).waitFor();
    await page.goto(`${originOf(host)}/#token=${token('first')}`);
    await expect.poll(() => status(page)).toContain('connected');
    expect(page.url()).not.toContain('token');
  });
});

describe('a page of somebody else', () => {
  /** Opens an empty page under a name that this machine has for the test alone. */
  async function openAt(name: string, port: number): Promise<Page> {
    const browser = await startBrowser(`--host-resolver-rules=MAP ${name} 127.0.0.1`);
    const page = await browser.newPage();
    await page.goto(`http://${name}:${port}/`);
    return page;
  }
  const call = { jsonrpc: '2.0', id: 1, method: 'rpc.discover' };

  test('is refused by its origin, on HTTP and on WebSocket', async () => {
    const host = await startHost();
    const server = createServer((_, response) => response.writeHead(200, { 'content-type': 'text/html' }).end('<!doctype html>'));
    await once(server.listen(0, '127.0.0.1'), 'listening');
    onTestFinished(() => void server.close());
    const page = await openAt('evil.example', (server.address() as AddressInfo).port);
    const seen = await page.evaluate(async ([address, body]) => {
      const simple = await fetch(`http://${address}/rpc/TV`, { method: 'POST', body: body!, mode: 'no-cors' }).then(({ type }) => type);
      const read = await fetch(`http://${address}/rpc/TV`, { method: 'POST', body: body!, headers: { 'content-type': 'application/json' } })
        .then(({ status }) => status, (error: Error) => error.name);
      const socket = await new Promise((done) => {
        const socket = new WebSocket(`ws://${address}/rpc/TV`);
        socket.onopen = () => done('open');
        socket.onclose = () => done('closed');
      });
      return { simple, read, socket };
    }, [host.address, JSON.stringify(call)]);
    expect(seen).toEqual({ simple: 'opaque', read: 'TypeError', socket: 'closed' });
    const { status } = await fetch(`http://${host.address}/rpc/TV`, { method: 'POST', body: JSON.stringify(call), headers: { origin: 'http://evil.example' } });
    expect(status).toBe(403);
  });

  test('is refused by the host’s name, were it ours', async () => {
    const host = await startHost();
    const page = await openAt('evil.example', Number(host.address.split(':')[1]));
    const text = await page.locator('body').innerText();
    expect(text).toContain('--allow-host');
  });
});

test('two pages at once show the same', async () => {
  const host = await startHost();
  const [one, two] = [await openPage(host, '#/simulator'), await openPage(host, '#/now')];
  const simulator = await simulatorOf(host);
  await simulator.clockSet({ now: noon + 90 });
  for (const page of [one, two]) await expect.poll(() => status(page)).toContain('12:01:30');
});
