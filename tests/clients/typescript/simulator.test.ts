// The controls of a simulated service, and how the library bears the weather that they make.

import { connect, ConnectionLost, DecodeError, ServiceError, TimedOut, type Tv, TvError } from '@ostrel/tv';
import { connectSimulator, type Simulator } from '@ostrel/tv/simulator';
import { describe, expect, onTestFinished, test, vi } from 'vitest';
import { clockAt, connected, Host } from './host.js';

/** A host, its controls, and a client of it. */
async function simulated(): Promise<{ simulator: Simulator; tv: Tv; host: Host }> {
  const host = await Host.start();
  const simulator = await connectSimulator(host.url, { firstPause: 10 });
  onTestFinished(() => simulator.close());
  return { simulator, tv: await connected(host.url), host };
}

/** How often each rule of the weather was applied. */
const applied = async (simulator: Simulator) => (await simulator.weatherGet()).rules.map(({ applied }) => applied);

describe('the controls', () => {
  test('tell of the world, and set the signal until all is reset', async () => {
    const { simulator, tv } = await simulated();
    expect(await simulator.worldGet()).toMatchObject({ services: 96, events: 11_658, builtIn: true, timeZone: 'Europe/London' });
    const before = await tv.service.signalStatusGet({ sourceId: 0 });
    await simulator.signalSet({ strength: 12, quality: 34 });
    expect(await tv.service.signalStatusGet({ sourceId: 0 })).toEqual({ strength: 12, quality: 34 });
    await simulator.reset();
    expect(await tv.service.signalStatusGet({ sourceId: 0 })).toEqual(before);
  });

  test('tell everybody of the weather that one has made', async () => {
    const { simulator, host } = await simulated();
    const other = await connectSimulator(host.url);
    onTestFinished(() => other.close());
    const told = other.events('weather');
    const rules = [{ method: 'ITVGuide::*', delayMs: [1, 2] as [number, number], times: 3 }];
    const weather = await simulator.weatherSet({ rules, seed: 7 });
    expect(weather).toMatchObject({ rules: [{ ...rules[0], matched: 0, applied: 0 }], seed: 7 });
    expect(await told.next()).toEqual({ value: { name: 'weather', params: weather }, done: false });
  });

  test('show the traffic that passes', async () => {
    const { simulator, tv } = await simulated();
    await simulator.trafficWatch({ on: true });
    const traffic = simulator.events('traffic');
    await tv.scan.stop();
    for await (const { params } of traffic) {
      if (params.method !== 'ITVConfig::scanStop') continue;
      expect(params.direction).toBe('request');
      expect(JSON.parse(params.text)).toMatchObject({ method: 'ITVConfig::scanStop' });
      break;
    }
    const passed = (await simulator.trafficGet()).filter(({ method }) => method === 'ITVConfig::scanStop');
    expect(passed.map(({ direction }) => direction)).toEqual(['request', 'reply']);
  });

  test('refuse what is wrong before anything has changed', async () => {
    const { simulator } = await simulated();
    const wrong = await simulator.weatherSet({ rules: [{ delayMs: 1 }, { delayMs: -1 }] }).catch((error: unknown) => error);
    expect(wrong).toBeInstanceOf(DecodeError);
    expect(wrong).toMatchObject({ member: 'rules[1].delayMs', method: 'Simulator::weatherSet' });
    expect((await simulator.weatherGet()).rules).toEqual([]);
    await expect(simulator.call('Simulator::none')).rejects.toThrow(ServiceError);
  });

  test('are not there without a simulator', async () => {
    const host = await Host.start('127.0.0.1:0', '--no-simulator');
    await expect(connectSimulator(host.url)).rejects.toThrow(ConnectionLost);
    expect((await connected(host.url)).clock.speed).toBe(1);
  });
});

describe('the clock', () => {
  test('that is held is held here, and steps are followed to the second', async () => {
    const { simulator, tv } = await simulated();
    const held = clockAt(tv, { speed: 0 });
    const { now } = await simulator.clockSet({ speed: 0 });
    await held;
    expect(tv.clock.now()).toBe(now);
    for (const seconds of [1, 3600]) {
      const stepped = new Promise((resolve) => tv.on('clock', resolve));
      const clock = await simulator.clockStep({ seconds });
      await stepped;
      expect(tv.clock.now()).toBe(clock.now);
      expect(await tv.service.utcTimeGet()).toBe(clock.now);
    }
  });

  test('is known to stand, to run fast and to be as at the start to who comes later', async () => {
    const { simulator, host } = await simulated();
    for (const speed of [0, 60]) {
      await simulator.clockSet({ speed });
      const tv = await connected(host.url);
      await vi.waitFor(() => expect(tv.clock.speed).toBe(speed), { timeout: 50_000 });
      const reset = clockAt(tv, { speed: 1 });
      await simulator.reset();
      await reset;
    }
  });

  test('steps to just before what is next, and to it', async () => {
    const { simulator, tv } = await simulated();
    await simulator.clockSet({ speed: 0 });
    const { next } = await tv.service.nowNext(1043);
    const toNextStart = { serviceId: 1043, before: 5 };
    expect((await simulator.clockStep({ toNextStart })).now).toBe(next!.startTime - 5);
    expect((await tv.service.nowNext(1043)).next).toEqual(next);
    await simulator.clockStep({ seconds: 5 });
    expect((await tv.service.nowNext(1043)).now).toEqual(next);
  });

  test('moves a scan, which tells of every percentage once and in order', async () => {
    const { simulator, tv } = await simulated();
    await simulator.clockSet({ speed: 0 });
    const events = tv.events('scan*');
    await tv.scan.start();
    expect((await tv.scan.info())?.progress).toBe(0);
    await simulator.clockStep({ seconds: 10 });
    expect((await tv.scan.info())?.progress).toBe(20);
    await simulator.clockSet({ speed: 3600 });
    const percentages: number[] = [];
    for await (const event of events) {
      if (event.name === 'scanComplete') break;
      if (event.name === 'scanProgress') percentages.push(event.params.percent);
    }
    expect(percentages).toEqual([...new Set(percentages)].sort((a, b) => a - b));
    expect([percentages[0], percentages.includes(20), percentages.at(-1)]).toEqual([0, true, 100]);
    expect(await tv.scan.info()).toMatchObject({ scanning: false, progress: 100 });
  });
});

describe('a slow service', () => {
  test('answers 1,000 calls at once each with its own, in their order', async () => {
    const { simulator, tv } = await simulated();
    await tv.service.serviceListSet({ base: 'all' });
    await simulator.weatherSet({ rules: [{ method: 'ITVService::serviceListSeek', probability: 0.05, delayMs: [1, 20] }], seed: 1 });
    const offsets = Array.from({ length: 1000 }, (_, i) => i % 96);
    const order: number[] = [];
    const places = offsets.map(async (offset, i) => {
      const place = await tv.service.serviceListSeek({ offset, whence: 0 }, { timeout: 60_000 });
      order.push(i);
      return place;
    });
    expect(await Promise.all(places)).toEqual(offsets);
    expect(order).toEqual(offsets.map((_, i) => i));
    expect((await applied(simulator))[0]).toBeGreaterThan(0);
  });

  test('is waited for as long as the call says, and a reply that comes too late does no harm', async () => {
    const { simulator, tv } = await simulated();
    const delayMs = 500;
    await simulator.weatherSet({ rules: [{ method: 'ITVService::signalStatusGet', delayMs, times: 1 }] });
    await expect(tv.service.signalStatusGet({ sourceId: 0 }, { timeout: 1 })).rejects.toThrow(TimedOut);
    expect(await tv.service.signalStatusGet({ sourceId: 0 })).toMatchObject({ strength: expect.any(Number) }); // behind it
    expect(tv.state).toBe('open');
  });

  test('can be left by an AbortSignal while it thinks', async () => {
    const { simulator, tv } = await simulated();
    await simulator.weatherSet({ rules: [{ method: 'ITVGuide::*', delayMs: 600_000 }] });
    const abort = new AbortController();
    const call = tv.guide.getGenreStringMapList({ signal: abort.signal, timeout: Infinity });
    abort.abort(new Error('no longer needed'));
    await expect(call).rejects.toThrow('no longer needed');
  });

  test('does not keep connect() waiting without end', async () => {
    const { simulator, host } = await simulated();
    await simulator.weatherSet({ rules: [{ method: 'ITVService::createContext', delayMs: 600_000 }] });
    await expect(connect(host.url, { timeout: 500 })).rejects.toThrow(TvError);
  });
});

describe('a service on which things get lost', () => {
  test('a reply: the call ends in TimedOut and was carried out, once', async () => {
    const { simulator, tv } = await simulated();
    await simulator.weatherSet({ rules: [{ method: 'ITVConfig::scanBlindStart', drop: 'reply' }] });
    await expect(tv.scan.start({}, { timeout: 500 })).rejects.toThrow(TimedOut);
    expect(await tv.scan.stop()).toBe(true);
    expect(await applied(simulator)).toEqual([1]);
  });

  test('a request: the call ends in TimedOut and was not carried out', async () => {
    const { simulator, tv } = await simulated();
    await simulator.weatherSet({ rules: [{ method: 'ITVConfig::scanBlindStart', drop: 'request' }] });
    await expect(tv.scan.start({}, { timeout: 500 })).rejects.toThrow(TimedOut);
    expect(await tv.scan.stop()).toBe(false);
  });

  test('the connection: the call ends in ConnectionLost, is not sent again, and the next one has another', async () => {
    const { simulator, tv } = await simulated();
    await simulator.weatherSet({ rules: [{ method: 'ITVConfig::scanBlindStart', drop: 'connection' }] });
    await expect(tv.scan.start()).rejects.toThrow(ConnectionLost);
    expect(await tv.scan.stop()).toBe(true);
    expect(await applied(simulator)).toEqual([1]);
    expect(simulator.state).toBe('open');
  });

  test('an error: the call ends in it, by its name', async () => {
    const { simulator, tv } = await simulated();
    await simulator.weatherSet({ rules: [{ method: 'ITVGuide::*', error: 'OutOfMemory', after: 1, times: 1 }] });
    await tv.guide.getGenreStringMapList();
    await expect(tv.guide.getGenreStringMapList()).rejects.toMatchObject({ name: 'OutOfMemory', returnCode: 3 });
    await tv.guide.getGenreStringMapList();
  });

  test('a notification: nobody hears of it', async () => {
    const { simulator, tv } = await simulated();
    const heard: string[] = [];
    for (const name of ['scanStart', 'scanComplete'] as const) tv.on(name, () => heard.push(name));
    await simulator.weatherSet({ rules: [{ method: '*::onScanStart', notifications: true, drop: 'notification' }] });
    await tv.scan.start();
    await tv.scan.stop();
    expect(heard).toEqual(['scanComplete']);
  });
});
