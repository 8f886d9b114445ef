// Traffic while 1,000 messages a second pass: how smoothly it is drawn, and what it holds.

import { once } from 'node:events';
import { setTimeout as pause } from 'node:timers/promises';
import { expect, onTestFinished, test } from 'vitest';
import { WebSocket } from 'ws';
import { type Frames, measureFrames, measureHeap } from './support/frames.js';
import { startHost } from './support/host.js';
import { isBench } from './support/measure.js';
import { openPage } from './support/page.js';

const seconds = isBench ? 60 : 5;

/** Makes 500 calls a second, which with their replies are 1,000 messages. Returns how many were answered. */
async function storm(url: string): Promise<number> {
  const socket = new WebSocket(`${url}/rpc/TV`, 'jsonrpc');
  onTestFinished(() => socket.close());
  await once(socket, 'open');
  let answered = 0;
  socket.on('message', () => (answered += 1));
  const end = performance.now() + seconds * 1000;
  const started = performance.now();
  for (let sent = 0; performance.now() < end; await pause(10))
    for (; sent < ((performance.now() - started) / 1000) * 500; ++sent)
      socket.send(JSON.stringify({ jsonrpc: '2.0', id: sent, method: 'ITVGuide::getGenreStringMapList', params: { context: 1 } }));
  return answered;
}

const line = (what: string, { count, longest, over50, mostNodes }: Frames, heap: number): string =>
  `  ${what.padEnd(10)} ${count} frames, longest ${longest.toFixed(0)} ms, over 50 ms: ${over50}, nodes ${mostNodes}, heap ${(heap / 1e6).toFixed(1)} MB`;

test(`1,000 messages a second, for ${seconds} s`, async () => {
  const host = await startHost();
  const page = await openPage(host, '#/traffic');
  await page.getByRole('grid').getByRole('row').filter({ hasText: 'createContext' }).waitFor();
  const calm = await measureFrames(page, () => pause(seconds * 1000));
  const heapBefore = await measureHeap(page);
  let answered = 0;
  const stormy = await measureFrames(page, async () => (answered = await storm(host.url)));
  const heapAfter = await measureHeap(page);
  console.log([line('calm', calm, heapBefore), line('storm', stormy, heapAfter), `  ${answered} calls were answered`].join('\n'));
  expect(stormy.mostNodes).toBeLessThan(700);
  expect(heapAfter - heapBefore).toBeLessThan(30e6);
}, 300_000);
