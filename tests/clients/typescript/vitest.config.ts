import { fileURLToPath } from 'node:url';
import { defineConfig } from 'vitest/config';

const program = fileURLToPath(new URL('../../../build/release/host/ostrel-tvd', import.meta.url));

export default defineConfig({
  test: {
    include: ['*.test.ts', '*.test.tsx'],
    env: { OSTREL_TVD: process.env.OSTREL_TVD ?? program },
    testTimeout: 60_000,
    maxWorkers: 2,
    minWorkers: 1,
  },
});
