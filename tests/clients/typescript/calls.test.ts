// Calls and their answers, from a host as it is.

import { connect, ConnectionLost, DecodeError, ServiceError, TimedOut, Tv } from '@ostrel/tv';
import { mkdtempSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { describe, expect, onTestFinished, test } from 'vitest';
import { connected, Host, Line } from './host.js';

const noon = 1318762800;
const everyService = 96;

describe('what is mostly wanted', () => {
  test('the services of both lists', async () => {
    const tv = await connected((await Host.start()).url);
    const all = await tv.service.list();
    expect(all).toHaveLength(everyService);
    expect(all[0]).toMatchObject({ channelNumber: 1, name: 'BBC ONE', id: 1043 });
    expect(await tv.service.list({ base: 'new' })).toEqual([]);
  });

  test('lists that are asked for at once are not mixed up', async () => {
    const tv = await connected((await Host.start()).url);
    const lists = await Promise.all([tv.service.list(), tv.service.list({ base: 'new' }), tv.service.list()]);
    expect(lists.map(({ length }) => length)).toEqual([everyService, 0, everyService]);
  });

  test('what is on and what comes next', async () => {
    const tv = await connected((await Host.start()).url);
    const { now, next } = await tv.service.nowNext(1043);
    expect([now?.title, next?.title]).toEqual(['Gate and Stile', 'Weekend News']);
    expect(await tv.service.nowNext(4)).toEqual({});
  });

  test('a window of the guide is one question, and as many as are needed for many services', async () => {
    const line = await Line.to(await Host.start());
    const tv = await connected(line.url);
    const window = { from: noon, to: noon + 3600 };
    const questions = async (services?: number[]) => {
      const before = line.count('ITVGuide::queryEventInfo');
      const events = await tv.guide.window({ ...window, services });
      return { events, count: line.count('ITVGuide::queryEventInfo') - before };
    };
    const all = await questions();
    expect(all.count).toBe(1);
    expect(all.events.length).toBeGreaterThan(100);
    for (const { startTime, endTime } of all.events) expect(startTime < window.to && endTime > window.from).toBe(true);

    const ids = [...new Set(all.events.map(({ serviceId }) => serviceId))];
    for (const [services, count] of [[0, 0], [1, 1], [13, 1], [14, 2], [ids.length, Math.ceil(ids.length / 13)]] as const) {
      const wanted = ids.slice(0, services);
      const found = await questions([...wanted, ...wanted]);
      expect(found.count).toBe(count);
      expect(new Set(found.events)).toEqual(new Set(all.events.filter(({ serviceId }) => wanted.includes(serviceId))));
      const starts = found.events.map(({ startTime }) => startTime);
      expect(starts).toEqual([...starts].sort((a, b) => a - b));
    }
  });

  test('events by an expression, and their documents', async () => {
    const tv = await connected((await Host.start()).url);
    const expression = `ServiceId == 1043 && Start <= ${noon} && End > ${noon}`;
    const [programme, ...others] = await tv.guide.query(expression);
    expect(programme).toMatchObject({ ServiceId: 1043, Title: 'Gate and Stile', Start: noon, Content: [160] });
    expect(others).toEqual([]);
    expect(await tv.guide.raw(expression, 'quorilxml')).toEqual([expect.stringMatching(/^<progSchedule>.*Gate and Stile/)]);
    await expect(tv.guide.query('ServiceId != 1043')).rejects.toMatchObject({ name: 'NotSupported' });
  });

  test('the largest answer', async () => {
    const tv = await connected((await Host.start()).url);
    expect((await tv.guide.query('')).length).toBe(11_658);
  });

  test('a scan from its start to its end', async () => {
    const tv = await connected((await Host.start()).url);
    expect(await tv.scan.info()).toBeUndefined();
    await tv.scan.start();
    await expect(tv.scan.start()).rejects.toMatchObject({ name: 'NotSupported', returnCode: 4 });
    expect(await tv.scan.info()).toMatchObject({ scanning: true });
    expect(await tv.scan.stop()).toBe(true);
    expect(await tv.scan.stop()).toBe(false);
    await tv.scan.addTransponder(690_000);
    await tv.scan.start({ over: 'transponders' });
    expect(await tv.scan.stop()).toBe(true);
  });

  test('the time, without a call each', async () => {
    const line = await Line.to(await Host.start());
    const tv = await connected(line.url);
    const asked = line.requests.length;
    const shown = tv.clock.now();
    expect(line.requests).toHaveLength(asked);
    const told = await tv.service.utcTimeGet();
    expect(told).toBeGreaterThanOrEqual(noon);
    // It is right to half a second and half a trip, and what is told is cut to whole seconds.
    expect(shown).toBeGreaterThan(noon - 1);
    expect(shown).toBeLessThan(told + 2);
    for (let i = 0; i < 5; ++i) await tv.clock.measure();
    expect(Math.abs((await tv.service.utcTimeGet()) + 0.5 - tv.clock.now())).toBeLessThan(2);
  });
});

describe('plain calls', () => {
  test('by name, and with a context of one’s own', async () => {
    const tv = await connected((await Host.start()).url);
    const context = await tv.call('ITVService::createContext');
    await tv.call('ITVService::serviceListSet', { base: 'all' }, { context });
    expect(await tv.call('ITVService::serviceListSeek', { offset: 5, whence: 0 }, { context })).toBe(5);
    await expect(tv.service.serviceListSeek({ offset: 5, whence: 0 })).rejects.toMatchObject({ name: 'InvalidState' });
    expect(await tv.call('rpc.discover')).toMatchObject({ info: { title: 'Ostrel TV' } });
  });

  test('1,000 at once are answered each with its own', async () => {
    const tv = await connected((await Host.start()).url);
    await tv.service.serviceListSet({ base: 'all' });
    const offsets = Array.from({ length: 1000 }, (_, i) => i % everyService);
    const places = await Promise.all(offsets.map((offset) => tv.service.serviceListSeek({ offset, whence: 0 })));
    expect(places).toEqual(offsets);
  });

  test('one context is made, however many ask at once', async () => {
    const line = await Line.to(await Host.start());
    const tv = await connected(line.url);
    await Promise.all(Array.from({ length: 100 }, () => tv.service.utcTimeGet()));
    expect(line.count('ITVService::createContext')).toBe(1);
  });

  test('a context that is gone is told of, and the next call has another', async () => {
    // Where there is a simulator the time is asked for once more, and would be told first.
    const tv = await connected((await Host.start('127.0.0.1:0', '--no-simulator')).url);
    await tv.service.deleteContext();
    await expect(tv.service.utcTimeGet()).rejects.toMatchObject({ name: 'InvalidParameter', member: 'context' });
    expect(await tv.service.utcTimeGet()).toBeGreaterThanOrEqual(noon);
  });
});

describe('batches', () => {
  test('give each call its result, in order, past a hundred too', async () => {
    const line = await Line.to(await Host.start());
    const tv = await connected(line.url);
    const [now, genres] = await tv.batch((b) => [b.service.utcTimeGet(), b.guide.getGenreStringMapList()]);
    expect(now).toBeGreaterThanOrEqual(noon);
    expect(genres[0]).toEqual({ code: 16, text: 'movie/drama (general)' });

    await tv.service.serviceListSet({ base: 'all' });
    const steps = Array.from({ length: 250 }, () => 0);
    const places = await tv.batch((b) => steps.map((offset) => b.service.serviceListSeek({ offset, whence: 1 })));
    expect(places).toEqual(steps);
    expect(await tv.batch(() => [])).toEqual([]);
  });

  test('reject with what was refused, and each can be looked at', async () => {
    const tv = await connected((await Host.start()).url);
    await expect(tv.batch((b) => [b.service.utcTimeGet(), b.call('ITVService::none')])).rejects.toMatchObject({
      name: 'MethodNotFound',
      code: -32601,
    });
    const [each] = await tv.batch((b) => [Promise.allSettled([b.service.utcTimeGet(), b.call('ITVService::none')])]);
    expect(each.map(({ status }) => status)).toEqual(['fulfilled', 'rejected']);
  });
});

describe('failures', () => {
  test('a refusal has its result code', async () => {
    const tv = await connected((await Host.start()).url);
    const error = await tv.service.serviceListGet({ limit: 1 }).catch((error: unknown) => error);
    expect(error).toBeInstanceOf(ServiceError);
    expect(error).toMatchObject({ name: 'InvalidState', returnCode: 2, code: -32000, method: 'ITVService::serviceListGet' });
    expect(String(error)).toBe('InvalidState: ITVService::serviceListGet: Invalid state');
  });

  test('a payload that is wrong names its member', async () => {
    const tv = await connected((await Host.start()).url);
    const query = { timeRange: { base: 0.5 } };
    const error = await tv.guide.queryEventInfo({ query }).catch((error: unknown) => error);
    expect(error).toBeInstanceOf(DecodeError);
    expect(error).toMatchObject({ member: 'query.timeRange.base' });
  });

  test('a reply that is lost ends in TimedOut, and the connection is as good as before', async () => {
    const line = await Line.to(await Host.start());
    const tv = await connected(line.url);
    line.loses = 'ITVService::signalStatusGet';
    await expect(tv.service.signalStatusGet({ sourceId: 0 }, { timeout: 50 })).rejects.toThrow(TimedOut);
    expect(await tv.service.utcTimeGet()).toBeGreaterThanOrEqual(noon);
    expect(line.count('ITVService::signalStatusGet')).toBe(1);
    expect(tv.state).toBe('open');
  });

  test('a call can be aborted before it is sent and while it is under way', async () => {
    const line = await Line.to(await Host.start());
    const tv = await connected(line.url);
    const aborted = tv.service.signalStatusGet({ sourceId: 0 }, { signal: AbortSignal.abort() });
    await expect(aborted).rejects.toMatchObject({ name: 'AbortError' });
    await tv.service.utcTimeGet();
    expect(line.count('ITVService::signalStatusGet')).toBe(0);

    line.loses = 'ITVService::signalStatusGet';
    const abort = new AbortController();
    const call = tv.service.signalStatusGet({ sourceId: 0 }, { signal: abort.signal, timeout: Infinity });
    await tv.service.utcTimeGet();
    abort.abort(new Error('no longer needed'));
    await expect(call).rejects.toThrow('no longer needed');
  });

  test('without a service connect() says so', async () => {
    const host = await Host.start();
    await host.stop();
    await expect(connect(host.url)).rejects.toThrow(ConnectionLost);
  });

  test('a wrong token does not connect, the right one does', async () => {
    const token = 'abcdefghijklmnopqrstuvwxyz012345';
    const file = join(mkdtempSync(join(tmpdir(), 'ostrel-')), 'token');
    writeFileSync(file, `${token}\n`, { mode: 0o600 });
    const host = await Host.start('127.0.0.1:0', '--token-file', file);
    for (const wrong of [undefined, token.replace('a', 'b')])
      await expect(connect(host.url, { token: wrong })).rejects.toThrow(ConnectionLost);
    const tv = await connected(host.url, { token });
    expect(await tv.service.utcTimeGet()).toBeGreaterThanOrEqual(noon);
  });

  test('after close() there are no calls', async () => {
    const host = await Host.start();
    const tv = new Tv(host.url);
    onTestFinished(() => tv.close());
    const waiting = tv.service.utcTimeGet();
    tv.close();
    await expect(waiting).rejects.toThrow(ConnectionLost);
    await expect(tv.service.utcTimeGet()).rejects.toThrow(ConnectionLost);
    expect(tv.state).toBe('closed');
  });
});
