import { fileURLToPath } from 'node:url';
import react from '@vitejs/plugin-react';
import { defineConfig } from 'vitest/config';

/** The service that `./dev page` shows: what `./dev run` has started. */
const service = process.env.OSTREL_SERVICE ?? 'http://127.0.0.1:8480';
const passedOn = Object.fromEntries(['/rpc', '/openrpc', '/openrpc.json'].map((path) => [path, { target: service, ws: true }]));

export default defineConfig({
  plugins: [react()],
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
