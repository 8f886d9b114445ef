// The README's programs in a real browser, from a page of another origin on this machine.

import { build } from 'esbuild';
import { existsSync, readFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { once } from 'node:events';
import type { AddressInfo } from 'node:net';
import { fileURLToPath } from 'node:url';
import { type Browser, chromium } from 'playwright-core';
import { afterAll, beforeAll, expect, onTestFinished, test } from 'vitest';
import { Host } from './host.js';

const library = fileURLToPath(new URL('../../../clients/typescript/', import.meta.url));
const readme = readFileSync(`${library}README.md`, 'utf8');
const program = '/usr/bin/chromium';

/** The first block of the README in a language, with the address of a host in it. */
function block(language: string, host?: Host): string {
  const [, text] = readme.match(new RegExp(`\`\`\`${language}\\n(.*?)\`\`\``, 's'))!;
  return host === undefined ? text! : text!.replace('ws://127.0.0.1:8480', host.url);
}

let browser: Browser;
beforeAll(async () => {
  expect(existsSync(program), `there is no ${program}; ./dev test installs it`).toBe(true);
  browser = await chromium.launch({ executablePath: program, args: ['--no-sandbox'] }); // which root cannot have
}, 120_000);
afterAll(() => browser?.close());

/** Opens a page with a script, from a server that has the built library's modules beside it. Returns what it logs. */
async function open(script: string) {
  const imports = { '@ostrel/tv': '/dist/index.js', '@ostrel/tv/react': '/dist/react/index.js' };
  const html = `<!doctype html><link rel="icon" href="data:,"><script type="importmap">${JSON.stringify({ imports })}</script>
    <script type="module">${script}</script>`;
  const server = createServer(({ url = '' }, response) => {
    if (url === '/') return response.writeHead(200, { 'content-type': 'text/html; charset=utf-8' }).end(html);
    if (!/^\/dist\/[\w/]+\.js$/.test(url)) return response.writeHead(404).end();
    response.writeHead(200, { 'content-type': 'text/javascript' }).end(readFileSync(library + url));
  });
  await once(server.listen(0, '127.0.0.1'), 'listening');
  const page = await browser.newPage();
  onTestFinished(async () => {
    await page.close();
    server.closeAllConnections();
    server.close();
  });
  const log: string[] = [];
  page.on('console', (message) => message.type() === 'log' && log.push(message.text()));
  const failed = once(page, 'pageerror').then(([error]) => Promise.reject(error));
  failed.catch(() => {});
  await page.goto(`http://127.0.0.1:${(server.address() as AddressInfo).port}/`);
  return { page, log, failed };
}

test('the first program prints what stands there', async () => {
  const host = await Host.start();
  const { page, log, failed } = await open(`${block('js', host)}\ndocument.title = 'done';`);
  await Promise.race([page.waitForFunction(() => document.title === 'done'), failed]);
  expect(`${log.join('\n')}\n`).toBe(block('text'));
});

test('the program with hooks shows the same, and changes by itself when the host is another', async () => {
  const host = await Host.start();
  const { outputFiles } = await build({
    stdin: { contents: block('jsx', host), loader: 'jsx', resolveDir: fileURLToPath(new URL('.', import.meta.url)) },
    jsx: 'automatic',
    bundle: true,
    minify: true,
    format: 'esm',
    define: { 'process.env.NODE_ENV': '"production"' },
    write: false,
  });
  const { page, failed } = await open(outputFiles[0]!.text.replaceAll('</script', '<\\/script'));
  const shows = (text: string) =>
    Promise.race([page.waitForFunction((text) => document.querySelector('main')?.innerText.replace(/\n+/g, '\n') === text, text), failed]);
  await shows(block('text').trim());
  await host.kill();
  await Host.start(host.address, '--fake-time=false'); // a day of which the guide knows nothing
  await shows(block('text').trim().replace(/: .*/g, ': nothing'));
});
