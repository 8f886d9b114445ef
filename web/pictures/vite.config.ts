import { fileURLToPath } from 'node:url';
import { defineConfig } from 'vitest/config';
import page from '../vite.config.js';

// Pictures are taken with what the tests stand on, one after the other; `./dev pictures` does it.
export default defineConfig({
  ...page,
  test: {
    ...page.test,
    include: ['pictures/*.pictures.ts'],
    env: { ...page.test?.env, FONTCONFIG_FILE: fileURLToPath(new URL('fonts.conf', import.meta.url)) },
    fileParallelism: false,
    disableConsoleIntercept: true, // console.log() says how it gets on
    testTimeout: 600_000,
  },
});
