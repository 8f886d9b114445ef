// What a connection goes through, and what is heard on it.

import { ConnectionLost, type Events, Tv } from '@ostrel/tv';
import { once } from 'node:events';
import type { AddressInfo } from 'node:net';
import { expect, onTestFinished, test } from 'vitest';
import { WebSocketServer } from 'ws';
import { connected, Host, Line } from './host.js';

/** Resolves with the next event of a name. */
const next = <Name extends keyof Events>(tv: Tv, name: Name) =>
  new Promise<Events[Name]>((resolve) => {
    const stop = tv.on(name, (params) => {
      stop();
      resolve(params);
    });
  });

test('a host that is killed and started again is found, and has a new context', async () => {
  const first = await Host.start();
  const tv = await connected(first.url);
  const states: string[] = [];
  tv.on('state', ({ state }) => states.push(state));
  await tv.service.list();

  const waiting = next(tv, 'state');
  await first.kill();
  expect(await waiting).toMatchObject({ state: 'waiting', retryIn: expect.any(Number) });
  const early = tv.service.list(); // waits for the connection
  const resync = next(tv, 'resync');
  await Host.start(first.address);
  await resync;
  expect(await early).toHaveLength(96);
  expect(states[0]).toBe('waiting');
  expect(states.at(-1)).toBe('open');
  expect(new Set(states.slice(1, -1))).toEqual(new Set(states.length > 3 ? ['connecting', 'waiting'] : ['connecting']));
  await expect(tv.service.serviceListGet({ limit: 1 })).resolves.toHaveLength(1);
});

test('a call under way when the connection breaks is rejected and not sent again', async () => {
  const line = await Line.to(await Host.start());
  const tv = await connected(line.url);
  line.breaksOn = 'ITVService::signalStatusGet';
  const resync = next(tv, 'resync');
  const call = tv.service.signalStatusGet({ sourceId: 0 });
  const behind = tv.service.signalStatusGet({ sourceId: 1 });
  await expect(call).rejects.toThrow(ConnectionLost);
  await expect(behind).rejects.toThrow(ConnectionLost);
  await resync;
  line.breaksOn = '';
  await tv.service.utcTimeGet();
  expect(line.count('ITVService::signalStatusGet')).toBe(2);
  expect(line.count('ITVService::createContext')).toBe(2);
});

test('a connection that breaks while its context is made leaves the calls to the next', async () => {
  const line = await Line.to(await Host.start());
  line.breaksOn = 'ITVService::createContext';
  const tv = new Tv(line.url, { firstPause: 10 });
  onTestFinished(() => tv.close());
  const call = tv.service.list();
  await next(tv, 'resync');
  while ((await next(tv, 'state')).state !== 'waiting');
  line.breaksOn = '';
  expect(await call).toHaveLength(96);
});

test('pauses grow, and differ', async () => {
  const host = await Host.start();
  await host.stop();
  const tv = new Tv(host.url, { firstPause: 4, longestPause: 64 });
  onTestFinished(() => tv.close());
  const pauses: number[] = [];
  while (pauses.length < 8) {
    const { state, retryIn } = await next(tv, 'state');
    if (state === 'waiting') pauses.push(retryIn!);
  }
  const most = [4, 8, 16, 32, 64, 64, 64, 64];
  pauses.forEach((pause, i) => expect(pause > most[i]! / 2 && pause <= most[i]!).toBe(true));
  expect(new Set(pauses.slice(4)).size).toBeGreaterThan(1);
});

test('calls wait for the connection no longer than their time-out', async () => {
  const host = await Host.start();
  await host.stop();
  const tv = new Tv(host.url);
  onTestFinished(() => tv.close());
  await expect(tv.service.utcTimeGet({ timeout: 20 })).rejects.toMatchObject({ name: 'TimedOut' });
});

test('notifications come in their order, and before the reply of the call that raised them', async () => {
  const tv = await connected((await Host.start()).url);
  const heard: unknown[] = [];
  tv.on('scanStart', ({ sourceId }) => heard.push(['start', sourceId]));
  tv.on('scanProgress', ({ sourceId, percent }) => heard.push(['progress', sourceId, percent]));
  tv.on('scanComplete', ({ sourceId }) => heard.push(['complete', sourceId]));
  const payload = { sourceId: 7, useNIT: 0 };
  await tv.scan.scanBlindStart(payload).then(() => heard.push('started'));
  await tv.scan.stop().then(() => heard.push('stopped'));
  const still = heard.filter((entry) => !(Array.isArray(entry) && entry[2] > 0)); // on a slow machine it gets on
  expect(still).toEqual([['start', 7], ['progress', 7, 0], 'started', ['complete', 7], 'stopped']);
});

test('events are there for a loop from when they are asked for', async () => {
  const tv = await connected((await Host.start()).url);
  const events = tv.events('scan*');
  await tv.scan.start();
  await tv.scan.stop();
  const names: string[] = [];
  for await (const event of events) {
    if (event.name === 'scanProgress' && event.params.percent > 0) continue;
    names.push(event.name);
    if (event.name === 'scanComplete') break;
  }
  expect(names).toEqual(['scanStart', 'scanProgress', 'scanComplete']);
  expect(await events.next()).toEqual({ value: undefined, done: true });
});

test('a loop that waits ends with the connection', async () => {
  const tv = await connected((await Host.start()).url);
  const loop = (async () => {
    for await (const { name } of tv.events('scanComplete')) expect.fail(name);
  })();
  tv.close();
  await loop;
});

test('who reads slowly is told the newest 1,000', async () => {
  const host = await Host.start();
  await host.stop();
  const tv = new Tv(host.url, { firstPause: 0 });
  onTestFinished(() => tv.close());
  const events = tv.events('state');
  let told = 0;
  await new Promise<void>((resolve) => tv.on('state', () => ++told === 1010 && resolve()));
  tv.close();
  let read = 0;
  for await (const _ of events) ++read;
  expect(read).toBe(1000);
});

test('a listener that is ended hears no more', async () => {
  const tv = await connected((await Host.start()).url);
  let heard = 0;
  const stop = tv.on('scanStart', () => ++heard);
  await tv.scan.start();
  stop();
  await tv.scan.stop();
  await tv.scan.start();
  expect(heard).toBe(1);
});

test('what is not JSON ends a connection, and not the program', async () => {
  const server = new WebSocketServer({ port: 0, host: '127.0.0.1' });
  onTestFinished(() => void server.close());
  server.on('connection', (socket) => socket.send('{"jsonrpc'));
  await once(server, 'listening');
  const tv = new Tv(`ws://127.0.0.1:${(server.address() as AddressInfo).port}`);
  onTestFinished(() => tv.close());
  await expect(tv.call('ITVService::createContext')).rejects.toThrow(ConnectionLost);
  expect(tv.state).toBe('waiting');
});

test('a listener that closes while it is told ends everything', async () => {
  const tv = new Tv((await Host.start()).url);
  const heard: string[] = [];
  tv.on('state', ({ state }) => {
    heard.push(state);
    if (state === 'open') tv.close();
  });
  tv.on('resync', () => heard.push('resync'));
  await expect(tv.service.utcTimeGet()).rejects.toThrow(ConnectionLost);
  expect(heard).toEqual(['open', 'closed']);
});

test('who observes is shown every message as it travels, in its order', async () => {
  const host = await Host.start();
  const seen: [string, unknown][] = [];
  const tv = await connected(host.url, { observe: (direction, text) => seen.push([direction, JSON.parse(text)]) });
  await tv.batch((b) => [b.service.utcTimeGet(), b.service.signalStatusGet({ sourceId: 0 })]);
  const batches = seen.filter(([, message]) => Array.isArray(message)); // the clock asks what it likes, one by one
  const [[sent, asked], [received, told]] = batches as unknown as [[string, { method: string; id: number }[]], [string, { id: number }[]]];
  expect(batches).toHaveLength(2);
  expect([sent, received]).toEqual(['sent', 'received']);
  expect(asked.map(({ method }) => method)).toEqual(['ITVService::utcTimeGet', 'ITVService::signalStatusGet']);
  expect(told.map(({ id }) => id)).toEqual(asked.map(({ id }) => id));
});
