// What a page from elsewhere tries in a real browser, with all that it could know: it is refused and changes nothing.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { createServer } from 'node:http';
import { createInterface } from 'node:readline';
import test, { after, before } from 'node:test';
import { chromium } from 'playwright-core';

/** Names that all lead to this machine, as their owners can have them do. */
const names = ['evil.example', 'rebound.example'];

let browser;
let pages; // a server of empty pages, whatever the name and path
before(async () => {
  pages = createServer((_, answer) => answer.setHeader('Content-Type', 'text/html').end('<!doctype html><title>elsewhere</title>'));
  await once(pages.listen(0, '127.0.0.1'), 'listening');
  browser = await chromium.launch({
    executablePath: '/usr/bin/chromium',
    args: [
      '--no-sandbox',
      '--disable-gpu',
      '--no-first-run',
      '--disable-background-networking',
      '--disable-component-update',
      '--disable-sync',
      // What the browser itself would keep from this machine reaches it, to show that the host needs no such help.
      '--disable-features=LocalNetworkAccessChecks,BlockInsecurePrivateNetworkRequests',
      `--host-resolver-rules=${names.map((name) => `MAP ${name} 127.0.0.1`).join(',')}`,
    ],
  });
});
after(async () => {
  await browser.close();
  pages.closeAllConnections();
  pages.close();
});

const evil = () => `http://evil.example:${pages.address().port}`;

/** A host and what it logs, with a context and the services of its list. */
class Watched {
  static async start(test, ...options) {
    const child = spawn(process.env.OSTREL_TVD, ['--listen', '127.0.0.1:0', '--hold', '--log-level', 'warning', ...options], {
      stdio: ['ignore', 'pipe', 'pipe'],
    });
    const host = new Watched();
    host.refusals = [];
    createInterface(child.stderr).on('line', (line) => {
      const at = line.indexOf('] refused: ');
      if (at > 0) host.refusals.push(line.slice(at + 11));
      host.heard?.();
    });
    const ended = once(child, 'exit');
    test.after(async () => {
      child.kill();
      assert.deepEqual(await ended, [0, null]);
    });
    const [line] = await once(createInterface(child.stdout), 'line');
    host.address = line.split('http://')[1];
    host.context = await host.call('TV', 'ITVService::createContext', []);
    return host;
  }

  /** As a program of this machine does. */
  async call(server, method, params) {
    const answer = await fetch(`http://${this.address}/rpc/${server}`, {
      method: 'POST',
      headers: { 'content-type': 'application/json' },
      body: JSON.stringify({ jsonrpc: '2.0', id: 1, method, params }),
    });
    const { result, error } = await answer.json();
    assert.equal(error, undefined);
    return result;
  }

  /** What a page sends that wants to do harm. */
  get harm() {
    const params = { context: this.context, payload: { sourceId: 1 } };
    return JSON.stringify({ jsonrpc: '2.0', id: 1, method: 'ITVConfig::transponderListDeleteAll', params });
  }

  async isHarmed() {
    const of = (payload) => ({ context: this.context, payload });
    await this.call('TV', 'ITVService::serviceListSet', of({ base: 'all' }));
    return (await this.call('TV', 'ITVService::serviceListGet', of({ limit: 1000 }))).length === 0;
  }

  /** Waits until so many refusals have been logged. */
  async refused(count) {
    while (this.refusals.length < count) await new Promise((resolve) => (this.heard = resolve));
  }
}

/** A page of that origin, for one test. */
async function open(test, origin) {
  const window = await browser.newContext();
  test.after(() => window.close());
  const page = await window.newPage();
  await page.goto(`${origin}/`);
  return page;
}

// Each attack runs in the page and tells what it got to know; it ends when the browser has made up its mind.
const attacks = {
  'fetch of JSON': {
    works: true,
    run: ({ address, harm }) =>
      fetch(`http://${address}/rpc/TV`, { method: 'POST', headers: { 'content-type': 'application/json' }, body: harm })
        .then((answer) => answer.text())
        .catch(() => 'nothing'),
  },
  'fetch with a token': {
    works: true,
    run: ({ address, harm }) =>
      fetch(`http://${address}/rpc/TV`, {
        method: 'POST',
        headers: { 'content-type': 'application/json', authorization: 'Bearer x' },
        body: harm,
      })
        .then((answer) => answer.text())
        .catch(() => 'nothing'),
  },
  'fetch of text, unasked': {
    run: ({ address, harm }) =>
      fetch(`http://${address}/rpc/TV`, { method: 'POST', mode: 'no-cors', headers: { 'content-type': 'text/plain' }, body: harm })
        .then((answer) => answer.text())
        .then((text) => text || 'nothing')
        .catch(() => 'nothing'),
  },
  'fetch of JSON, unasked': {
    run: ({ address, harm }) =>
      fetch(`http://${address}/rpc/TV`, { method: 'POST', mode: 'no-cors', body: new Blob([harm], { type: 'application/json' }) })
        .then((answer) => answer.text())
        .then((text) => text || 'nothing')
        .catch(() => 'nothing'),
  },
  beacon: {
    run: ({ address, harm }) => {
      navigator.sendBeacon(`http://${address}/rpc/TV`, harm);
      return 'nothing';
    },
  },
  WebSocket: {
    works: true,
    run: ({ address, harm }) =>
      new Promise((resolve) => {
        const socket = new WebSocket(`ws://${address}/rpc/TV`, 'jsonrpc');
        socket.onopen = () => socket.send(harm);
        socket.onmessage = ({ data }) => resolve(data);
        socket.onclose = () => resolve('nothing');
      }),
  },
  EventSource: {
    run: ({ address }) =>
      new Promise((resolve) => {
        const source = new EventSource(`http://${address}/rpc/TV`);
        source.onmessage = ({ data }) => resolve(data);
        source.onerror = () => {
          source.close();
          resolve('nothing');
        };
      }),
  },
  'fetch of the description': {
    reads: true,
    run: ({ address }) =>
      fetch(`http://${address}/openrpc.json`)
        .then((answer) => answer.text())
        .catch(() => 'nothing'),
  },
  'sandboxed frame': {
    run: ({ address, harm }) =>
      new Promise((resolve) => {
        const frame = document.createElement('iframe');
        frame.sandbox = 'allow-scripts';
        const call = `fetch('http://${address}/rpc/TV', { method: 'POST', headers: { 'content-type': 'application/json' },
          body: ${JSON.stringify(harm)} }).then((answer) => answer.text()).catch(() => 'nothing')`;
        frame.srcdoc = `<script>${call}.then((text) => parent.postMessage(text, '*'))</script>`;
        addEventListener('message', ({ data }) => resolve(data));
        document.body.append(frame);
      }),
  },
};

for (const [name, { run, works = false, reads = works }] of Object.entries(attacks)) {
  test(`${name} from another origin is refused, and does no harm`, { timeout: 60_000 }, async (t) => {
    const host = await Watched.start(t);
    const page = await open(t, evil());
    assert.equal(await page.evaluate(run, { address: host.address, harm: host.harm }), 'nothing');
    await host.refused(1);
    assert.equal(await host.isHarmed(), false);
    const origin = name === 'sandboxed frame' ? 'null' : evil();
    for (const line of host.refusals) assert.equal(line, `pages from ${origin} may not call; allow them with --allow-origin ${origin}`);
    t.diagnostic(`log: ${host.refusals.join(' | ')}`);
  });

  if (name === 'beacon') continue; // it does not tell when it has arrived
  // Nothing else has kept them off.
  test(`${name} from an origin that is named ${works ? 'works' : reads ? 'reads' : 'does no harm'}`, async (t) => {
    const host = await Watched.start(t, '--allow-origin', evil());
    const page = await open(t, evil());
    const told = await page.evaluate(run, { address: host.address, harm: host.harm });
    assert.equal(told !== 'nothing', reads, told);
    assert.equal(await host.isHarmed(), works);
  });
}

for (const [kind, head] of [
  ['a form', ''],
  ['a form that hides where it comes from', '<meta name="referrer" content="no-referrer">'],
]) {
  test(`${kind} is refused, and does no harm`, { timeout: 60_000 }, async (t) => {
    const host = await Watched.start(t);
    const page = await open(t, evil());
    // The name and the value with a "=" between them make up the message.
    const [begin, end] = [host.harm.slice(0, -1) + ',"x":"', '"}'];
    await page.setContent(`${head}<form method=post enctype=text/plain action="http://${host.address}/rpc/TV"><input></form>`);
    const answered = page.waitForNavigation();
    await page.evaluate(
      ([name, value]) => {
        Object.assign(document.querySelector('input'), { name, value });
        document.querySelector('form').submit();
      },
      [begin, end],
    );
    const answer = await answered;
    assert.equal(answer.status(), 403);
    assert.equal(await host.isHarmed(), false);
    await host.refused(1);
    assert.equal(host.refusals.length, 1);
    t.diagnostic(`log: ${host.refusals[0]}`);
  });
}

test('what is embedded without an Origin tells nothing', async (t) => {
  const host = await Watched.start(t);
  const page = await open(t, evil());
  const embedded = (tag, path) =>
    page.evaluate(
      ([tag, url]) =>
        new Promise((resolve) => {
          const element = document.createElement(tag);
          element.onload = () => resolve('loaded');
          element.onerror = () => resolve('nothing');
          if (tag === 'link') Object.assign(element, { rel: 'stylesheet', href: url });
          else element.src = url;
          document.head.append(element);
        }),
      [tag, `http://${host.address}${path}`],
    );
  for (const tag of ['img', 'script', 'link'])
    for (const path of ['/openrpc.json', '/rpc/TV', '/healthz', '/']) assert.equal(await embedded(tag, path), 'nothing', `${tag} of ${path}`);
  assert.deepEqual(host.refusals, []);
});

test('the page is shown in no frame', async (t) => {
  const host = await Watched.start(t);
  for (const origin of [evil(), `http://localhost:${pages.address().port}`]) {
    const page = await open(t, origin);
    const [complaint] = await Promise.all([
      page.waitForEvent('console', (message) => message.type() === 'error'),
      page.setContent(`<iframe src="http://${host.address}/"></iframe>`),
    ]);
    assert.match(complaint.text(), /frame-ancestors 'none'/);
  }
  const page = await open(t, `http://${host.address}`);
  assert.notEqual(await page.title(), 'elsewhere'); // as a page of its own it is
});

test('a name that was pointed at this machine leads nowhere', async (t) => {
  const host = await Watched.start(t);
  const [, port] = host.address.split(':');
  const address = `rebound.example:${port}`;
  const window = await browser.newContext();
  t.after(() => window.close());
  const page = await window.newPage();
  const answer = await page.goto(`http://${address}/`);
  assert.equal(answer.status(), 403);
  assert.equal(await page.evaluate(() => origin), `http://${address}`); // whatever script stands there is of this origin
  const line = `Host ${address} is not this machine; allow it with --allow-host rebound.example`;
  for (const name of ['fetch of JSON', 'fetch of the description'])
    assert.equal(await page.evaluate(attacks[name].run, { address, harm: host.harm }), `${line}\n`);
  assert.equal(await page.evaluate(attacks.WebSocket.run, { address, harm: host.harm }), 'nothing');
  assert.equal(await host.isHarmed(), false);
  await host.refused(4);
  for (const refusal of host.refusals) assert.equal(refusal, line);
  t.diagnostic(`log: ${host.refusals.length} times ${line}`);
});

test('a page of this machine is let in', async (t) => {
  const host = await Watched.start(t);
  const page = await open(t, `http://localhost:${pages.address().port}`);
  assert.match(await page.evaluate(attacks['fetch of JSON'].run, { address: host.address, harm: host.harm }), /"result":true/);
  assert.deepEqual(host.refusals, []);
});
