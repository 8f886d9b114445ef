// Serves the built page and passes on what goes to the host.

import { statSync } from 'node:fs';
import { readdir } from 'node:fs/promises';
import type { AddressInfo } from 'node:net';
import { fileURLToPath } from 'node:url';
import { build, preview } from 'vite';

const root = fileURLToPath(new URL('../../', import.meta.url));
const policy = "default-src 'self'; script-src 'self'; style-src 'self'; frame-ancestors 'none'";

/** Before all tests: builds the page, unless no source is newer than it. */
export async function setup(): Promise<void> {
  const changed = (file: string) => statSync(root + file, { throwIfNoEntry: false })?.mtimeMs ?? 0;
  const sources = (await readdir(`${root}src`, { recursive: true })).map((file) => `src/${file}`);
  const built = changed('dist/index.html');
  if (['index.html', 'vite.config.ts', ...sources].every((file) => changed(file) < built)) return;
  process.env.NODE_ENV = 'production'; // vitest's own makes a React for developers
  await build({ root, logLevel: 'error' });
}

/** Returns the page's origin, for the host at an address, and what ends it. */
export async function serve(address: string): Promise<{ origin: string; close: () => Promise<void> }> {
  const passedOn = Object.fromEntries(['/rpc', '/openrpc'].map((path) => [path, { target: `http://${address}`, ws: true }]));
  const server = await preview({
    root,
    logLevel: 'silent',
    preview: { host: '127.0.0.1', port: 0, proxy: passedOn, headers: { 'content-security-policy': policy } },
  });
  const origin = `http://127.0.0.1:${(server.httpServer.address() as AddressInfo).port}`;
  return { origin, close: () => server.close() };
}
