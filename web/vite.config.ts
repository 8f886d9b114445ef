import { writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import react from '@vitejs/plugin-react';
import type { Plugin } from 'vite';
import { defineConfig } from 'vitest/config';

/** The service that `./dev page` shows: what `./dev run` has started. */
const service = process.env.OSTREL_SERVICE ?? 'http://127.0.0.1:8480';
const passedOn = Object.fromEntries(['/rpc', '/openrpc', '/openrpc.json'].map((path) => [path, { target: service, ws: true }]));

/** Writes down beside the page which of npm's packages are in it: their folders, as the lock file calls them. */
const tellParts: Plugin = {
  name: 'tell-parts',
  apply: 'build',
  writeBundle({ dir }, bundle) {
    const chunks = Object.values(bundle).filter((file) => file.type === 'chunk');
    const used = chunks.flatMap(({ modules }) => Object.entries(modules).filter(([, { code }]) => code));
    const folders = used.flatMap(([file]) => /(?:^|\/)(node_modules\/(?:.*\/node_modules\/)?(?:@[^/]+\/)?[^/]+)\//.exec(file)?.[1] ?? []);
    writeFileSync(join(dir!, '../parts.json'), JSON.stringify([...new Set(folders)].sort()));
  },
};

export default defineConfig({
  plugins: [react(), tellParts],
  build: {
    target: 'es2022',
    assetsInlineLimit: 0, // what is inlined would need a weaker Content-Security-Policy
    modulePreload: { polyfill: false },
    reportCompressedSize: false,
  },
  server: { proxy: passedOn },
  test: {
    include: ['tests/**/*.test.{ts,tsx}'],
    env: { OSTREL_TVD: process.env.OSTREL_TVD ?? fileURLToPath(new URL('../build/release/host/ostrel-tvd', import.meta.url)) },
    expect: { poll: { timeout: 30_000 } },
    testTimeout: 120_000,
    hookTimeout: 120_000,
    maxWorkers: 2,
    minWorkers: 1,
  },
});
