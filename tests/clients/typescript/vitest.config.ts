import { defineConfig } from 'vitest/config';

export default defineConfig({
  test: {
    include: ['*.test.ts', '*.test.tsx'],
    testTimeout: 60_000,
    maxWorkers: 2,
    minWorkers: 1,
  },
});
