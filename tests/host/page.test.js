// The page as a built host serves it, held against the files that it was built of.

import { startHost } from '../support/host.js';
import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { once } from 'node:events';
import { chmodSync, mkdtempSync, readFileSync, readdirSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { Agent, request } from 'node:http';
import { tmpdir } from 'node:os';
import { extname, join } from 'node:path';
import { createInterface } from 'node:readline';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { gunzipSync } from 'node:zlib';

const folder = process.env.OSTREL_PAGE; // that npm has built
const paths = readdirSync(folder, { recursive: true })
  .filter((name) => statSync(join(folder, name)).isFile())
  .map((name) => `/${name}`);
const types = {
  '.css': 'text/css; charset=utf-8',
  '.html': 'text/html; charset=utf-8',
  '.js': 'text/javascript; charset=utf-8',
  '.svg': 'image/svg+xml',
};
const policy =
  "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; " +
  "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

/** Asks for a path as it stands and returns the answer with its bytes, as they travel. */
function ask(address, path, { method = 'GET', body, ...headers } = {}, agent) {
  const [host, port] = address.split(':');
  return new Promise((resolve, reject) => {
    const asking = request({ host, port, path, method, headers, agent }, (answer) => {
      const parts = [];
      answer.on('data', (part) => parts.push(part));
      answer.on('end', () => resolve({ status: answer.statusCode, headers: answer.headers, bytes: Buffer.concat(parts) }));
    });
    asking.on('error', reject);
    asking.end(body);
  });
}

/** What a host writes at its start. */
async function linesOf(...options) {
  const host = spawn(process.env.OSTREL_TVD, ['--log-level', 'error', ...options], { stdio: ['ignore', 'pipe', 'inherit'] });
  const ended = once(host, 'exit');
  const lines = [];
  for await (const line of createInterface(host.stdout)) {
    lines.push(line);
    if (line.startsWith('calls go to')) break;
  }
  host.kill();
  await ended;
  return lines;
}

/** A folder that is gone after the test. */
function temporary(test) {
  const directory = mkdtempSync(join(tmpdir(), 'ostrel-'));
  test.after(() => rmSync(directory, { recursive: true }));
  return directory;
}

const fileOf = (path) => readFileSync(join(folder, path));

test('every file is served as it was built, with and without gzip', async (test) => {
  const address = await startHost(test);
  assert.ok(paths.length > 3 && paths.includes('/index.html'), `${folder} holds no page`);
  const agent = new Agent({ keepAlive: true, maxSockets: 1 });
  test.after(() => agent.destroy());
  for (const path of paths) {
    const bytes = fileOf(path);
    const plain = await ask(address, path, {}, agent);
    const zipped = await ask(address, path, { 'accept-encoding': 'br, gzip' }, agent);
    const head = await ask(address, path, { method: 'HEAD' }, agent);
    const known = await ask(address, path, { 'if-none-match': `"other", ${plain.headers.etag}` }, agent);

    assert.equal(plain.status, 200, path);
    assert.deepEqual(plain.bytes, bytes, path);
    assert.equal(plain.headers['content-encoding'], undefined, path);
    assert.equal(plain.headers['content-type'], types[extname(path)], path);
    assert.equal(plain.headers['x-content-type-options'], 'nosniff', path);
    assert.equal(plain.headers['content-security-policy'], policy, path);
    assert.equal(plain.headers['referrer-policy'], 'no-referrer', path);
    const kept = path.startsWith('/assets/') ? 'public, max-age=31536000, immutable' : 'no-cache';
    assert.equal(plain.headers['cache-control'], kept, path);

    assert.equal(zipped.status, 200, path);
    if (zipped.headers['content-encoding'] === 'gzip') {
      assert.equal(zipped.headers.vary, 'Accept-Encoding', path);
      assert.equal(plain.headers.vary, 'Accept-Encoding', path);
      assert.ok(zipped.bytes.length < bytes.length, path);
      assert.deepEqual(gunzipSync(zipped.bytes), bytes, path);
    } else {
      assert.ok(bytes.length < 200, `${path} is not compressed`);
      assert.deepEqual(zipped.bytes, bytes, path);
    }
    assert.equal(zipped.headers.etag, plain.headers.etag, path);

    assert.equal(head.headers['content-length'], String(bytes.length), path);
    assert.equal(head.bytes.length, 0, path);
    assert.equal(known.status, 304, path);
    assert.equal(known.bytes.length, 0, path);
    assert.equal(known.headers.etag, plain.headers.etag, path);
  }
  const etags = await Promise.all(paths.map(async (path) => (await ask(address, path)).headers.etag));
  const contents = paths.map((path) => fileOf(path).toString('latin1'));
  assert.equal(new Set(etags).size, new Set(contents).size, 'a tag for each content');
});

test('what the page refers to is there, and nothing else', async (test) => {
  const address = await startHost(test);
  const found = new Set(['/index.html']);
  for (const path of found) {
    const { status, headers, bytes } = await ask(address, path);
    assert.equal(status, 200, path);
    if (!/html|css|javascript/.test(headers['content-type'])) continue;
    for (const [, name] of bytes.toString().matchAll(/["'`(](?:\.?\/)?(?:assets\/)?([\w.~-]+\.(?:js|css|svg|png|webp|woff2))["'`)]/g))
      found.add(paths.find((path) => path.endsWith(`/${name}`)) ?? assert.fail(`${path} refers to ${name}`));
  }
  assert.deepEqual([...found].sort(), [...paths].sort());
});

test('the page is behind "/" and one word, and paths that climb are refused', async (test) => {
  const address = await startHost(test);
  const page = fileOf('/index.html');
  for (const path of ['/', '/guide', '/traffic?method=*', '/?a=../b']) {
    const { status, bytes, headers } = await ask(address, path);
    assert.equal(status, 200, path);
    assert.deepEqual(bytes, page, path);
    assert.equal(headers['cache-control'], 'no-cache', path);
  }
  for (const path of ['/gone.js', '/assets', '/assets/', '/assets/gone-01234567.js', '/guide/now', '/rpc']) {
    const { status, bytes } = await ask(address, path);
    assert.equal(status, 404, path);
    assert.match(bytes.toString(), /^there is nothing here; calls go to /, path);
  }
  for (const path of ['/../etc/passwd', '/assets/../../x', '/%2e%2e/%2e%2e/etc/passwd', '//etc/passwd', '/..\\x', '/.git', `/%c0%ae`]) {
    const { status, bytes } = await ask(address, path);
    assert.equal(status, 400, path);
    assert.match(bytes.toString(), /^a path here is words /, path);
  }
});

test('files need no token, calls do; who is not let in is not shown the page', async (test) => {
  const file = join(temporary(test), 'token');
  const token = 'a'.repeat(40);
  writeFileSync(file, `${token}\n`);
  chmodSync(file, 0o600);
  const address = await startHost(test, '--token-file', file);
  for (const path of [...paths, '/', '/guide']) assert.equal((await ask(address, path)).status, 200, path);
  const call = { method: 'POST', 'content-type': 'application/json', body: '{"jsonrpc":"2.0","id":1,"method":"rpc.discover"}' };
  assert.equal((await ask(address, '/rpc/TV', call)).status, 401);
  assert.equal((await ask(address, '/rpc/TV', { ...call, authorization: `Bearer ${token}` })).status, 200);
  assert.equal((await ask(address, '/openrpc.json')).status, 401);
  assert.equal((await ask(address, '/', { origin: 'https://evil.example' })).status, 403);
  assert.equal((await ask(address, '/', { host: 'evil.example' })).status, 403);
});

test('the host says what to open, where a browser can', async (test) => {
  const socket = `unix:${join(temporary(test), 'socket')}`;
  const said = async (...options) => (await linesOf(...options)).map((line) => line.replace(/:\d+/, ':PORT'));
  const stop = 'calls go to /rpc/TV; Ctrl-C stops';
  assert.deepEqual(await said('--listen', socket, '--listen', '127.0.0.1:0'), [
    `ostrel-tvd serves on ${socket}`,
    'ostrel-tvd serves on http://127.0.0.1:PORT',
    'open http://127.0.0.1:PORT/ in a browser',
    stop,
  ]);
  assert.deepEqual(await said('--listen', socket), [`ostrel-tvd serves on ${socket}`, stop]);
});

test('the same files are embedded as the same bytes', (test) => {
  const directory = temporary(test);
  const embed = fileURLToPath(new URL('../../web/embed.js', import.meta.url));
  execFileSync(process.execPath, [embed, folder, directory]);
  const bytesIn = (directory) => readFileSync(join(directory, 'page.bin'));
  const sourceIn = (directory) => readFileSync(join(directory, 'PageFiles.cpp'), 'utf8').replace(/incbin .*/, '');
  assert.deepEqual(bytesIn(directory), bytesIn(join(folder, '..')));
  assert.equal(sourceIn(directory), sourceIn(join(folder, '..')));
});
