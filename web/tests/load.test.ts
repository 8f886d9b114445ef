// What a first visit costs: bytes on the wire, and how long until a programme stands in the guide.

import { expect, test } from 'vitest';
import { startHost } from './support/host.js';
import { openPage, originOf } from './support/page.js';

/** What scripts, styles and the document may weigh together, as they travel. */
const mostBytes = 150_000;

/** Since the page was asked for until the first programme is drawn, in milliseconds. */
const readTime = () =>
  new Promise<number>((resolve) => {
    const look = () => {
      if (document.querySelector('[role=gridcell][data-kind=event]') === null) return requestAnimationFrame(look);
      return requestAnimationFrame(() => resolve(performance.now()));
    };
    look();
  });

test('the first load is light, and the guide is soon there', async () => {
  const host = await startHost();
  const times: number[] = [];
  let weights: [string, number][] = [];
  for (let i = 0; i < 3; i++) {
    const page = await openPage(host, '#/guide'); // in a window that remembers nothing
    times.push(await page.evaluate(readTime));
    const names = await page.evaluate(() => performance.getEntriesByType('resource').map(({ name }) => name));
    const files = [originOf(host) + '/', ...names.filter((name) => !name.includes('/rpc/') && !name.includes('/openrpc'))];
    weights = await Promise.all(
      files.map(async (file): Promise<[string, number]> => {
        const { headers } = await fetch(file, { method: 'HEAD', headers: { 'accept-encoding': 'gzip' } });
        return [new URL(file).pathname, Number(headers.get('content-length'))];
      }),
    );
    await page.close();
  }
  const sum = weights.reduce((bytes, [, each]) => bytes + each, 0);
  console.log(
    [
      ...weights.map(([name, bytes]) => `  ${name.padEnd(36)} ${String(bytes).padStart(7)} bytes`),
      `  together ${' '.repeat(27)} ${String(sum).padStart(7)} bytes of ${mostBytes}`,
      `  first programme drawn after ${times.map((time) => `${time.toFixed(0)} ms`).join(', ')}`,
    ].join('\n'),
  );
  expect(weights.length).toBeGreaterThan(3);
  expect(sum).toBeLessThan(mostBytes);
});
