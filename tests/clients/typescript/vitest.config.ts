import { readFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { defineConfig } from 'vitest/config';

const program = fileURLToPath(new URL('../../../build/release/host/ostrel-tvd', import.meta.url));
const readme = fileURLToPath(new URL('../../../clients/typescript/README.md', import.meta.url));

/** Takes the README for the test that it shows. */
const readmeTest = {
  name: 'readme-test',
  enforce: 'pre' as const,
  load: (id: string) => (id === readme ? readFileSync(readme, 'utf8').match(/```js\n([^`]*from 'vitest'.*?)```/s)![1] : null),
};

export default defineConfig({
  plugins: [readmeTest],
  test: {
    include: ['*.test.ts', '*.test.tsx', readme],
    env: { OSTREL_TVD: process.env.OSTREL_TVD ?? program },
    testTimeout: 60_000,
    maxWorkers: 2,
    minWorkers: 1,
  },
});
