import { readFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { defineConfig } from 'vitest/config';

const program = fileURLToPath(new URL('../../../build/release/host/ostrel-tvd', import.meta.url));
const document = (name: string) => fileURLToPath(new URL(`../../../${name}`, import.meta.url));
const documents = ['clients/typescript/README.md', 'docs/simulator.md'].map(document);

/** Takes a document for the tests that it shows, of which the first has the imports of all. */
function readTests(file: string): string {
  const programs = [...readFileSync(file, 'utf8').matchAll(/^```js\n(.*?)^```/gms)].map(([, program]) => program!);
  return programs.slice(programs.findIndex((program) => program.includes("from 'vitest'"))).join('\n');
}

const documentTests = {
  name: 'document-tests',
  enforce: 'pre' as const,
  load: (id: string) => (documents.includes(id) ? readTests(id) : null),
};

export default defineConfig({
  plugins: [documentTests],
  test: {
    include: ['*.test.ts', '*.test.tsx', ...documents],
    env: { OSTREL_TVD: process.env.OSTREL_TVD ?? program },
    testTimeout: 60_000,
    expect: { poll: { timeout: 30_000 } },
    maxWorkers: 2,
    minWorkers: 1,
  },
});
