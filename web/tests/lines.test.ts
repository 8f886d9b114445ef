// What the page did is said as a line of ostrel-tv: run as it stands, it does the same.

import { spawnSync } from 'node:child_process';
import { dirname } from 'node:path';
import { fileURLToPath } from 'node:url';
import type { Rule, Simulator } from '@ostrel/tv/simulator';
import { describe, expect, test } from 'vitest';
import type { CallLike } from '../src/parts/callAs';
import type { Deed } from '../src/parts/done';
import { addTransponder, clearLists, scanBand, scanTransponders, stopScan } from '../src/views/scan/actions';
import { addRule, clearWeather, hold, removeRule, resetAll, run, setRules, setSignal, setSpeed, setTime, step, stepToNext } from '../src/views/simulator/actions';
import { presets } from '../src/views/simulator/rule';
import { connected, type Host, noon, simulatorOf, startHost } from './support/host.js';

const root = fileURLToPath(new URL('../..', import.meta.url));
const tool = process.env.OSTREL_TV ?? `${root}build/release/clients/tool/ostrel-tv`;

function type(host: Host, { command }: Deed): void {
  const env = { ...process.env, PATH: `${dirname(tool)}:${process.env.PATH}`, OSTREL_TV_URL: host.url };
  const { status, stderr } = spawnSync('bash', ['--norc', '-euc', command], { encoding: 'utf8', env });
  expect({ status, stderr }, command).toEqual({ status: 0, stderr: '' });
}

const rules: Rule[] = [
  { method: 'ITVGuide::*', delayMs: [200, 800], after: 2, times: 3 },
  { drop: 'connection', times: 1, probability: 0.125 },
];

/** Brings the simulation to where every action has something to do. */
async function prepare(simulator: Simulator): Promise<void> {
  await simulator.clockSet({ now: noon, speed: 0 });
  await simulator.weatherSet({ rules, seed: 7 });
  await simulator.signalSet({ strength: 1, quality: 2 });
}

async function look(simulator: Simulator) {
  const { now, speed } = await simulator.clockGet();
  const { rules, seed } = await simulator.weatherGet();
  const isTelling = speed === 0 && rules.length > 0; // a clock that runs, or was reset with the rules, has gone on since
  return { speed, rules, ...(rules.length > 0 && { seed }), ...(isTelling && { now }) };
}

const counted = rules.map((rule) => ({ method: '*', notifications: false, after: 0, probability: 1, ...rule, matched: 5, applied: 1 }));
const weather = { rules: counted, seed: 7 };

/** What leaves all as it was prepared. */
const isIdle = ({ command }: Deed) => ['ostrel-tv clock hold', 'ostrel-tv clock speed 0', asItWas.command].includes(command);
const asItWas = setRules(counted, 7, '');

const actions: (CallLike & Deed)[] = [
  hold,
  run,
  ...[0, 0.1, 0.25, 60, 3600].map(setSpeed),
  ...[noon - 86400, noon + 30].map((time) => setTime(time, '')),
  ...[1, 60, 3600].map(step),
  ...[stepToNext(undefined, 0), stepToNext(undefined, 5), stepToNext({ id: 1043, name: 'BBC ONE' }, 0), stepToNext({ id: 1043, name: 'BBC ONE' }, 90)],
  ...presets.map(([, rule]) => addRule(weather, rule)),
  addRule(weather, { method: "it's *", notifications: true, delayMs: [0, 9], drop: 'notification', after: 1, times: 2, probability: 0.5 }),
  removeRule(weather, 0),
  asItWas,
  removeRule({ rules: counted.slice(1), seed: 7 }, 0),
  clearWeather,
  resetAll,
];

describe('the simulator', () => {
  test('does by each line what the page does', async () => {
    const host = await startHost();
    const simulator = await simulatorOf(host);
    for (const action of actions) {
      await prepare(simulator);
      const before = await look(simulator);
      await simulator.call(action.method, action.payload);
      const byCall = await look(simulator);
      if (!isIdle(action)) expect(byCall, action.command).not.toEqual(before);
      await prepare(simulator);
      type(host, action);
      expect(await look(simulator), action.command).toEqual(byCall);
    }
  });

  test('receives as the line says', async () => {
    const host = await startHost();
    const tv = await connected(host.url);
    const action = setSignal(80, 35);
    type(host, action);
    expect(await tv.service.signalStatusGet({ sourceId: 0 })).toEqual(action.payload);
  });
});

describe('the scan', () => {
  test('goes over the band and over the list as the lines say', async () => {
    const host = await startHost();
    const simulator = await simulatorOf(host);
    const tv = await connected(host.url);
    type(host, clearLists);
    expect(await tv.service.list()).toEqual([]);
    await simulator.clockSet({ speed: 3600 });
    type(host, scanTransponders);
    expect(await tv.service.list()).toEqual([]);
    type(host, addTransponder(690_999));
    type(host, scanTransponders);
    expect(await tv.service.list()).toHaveLength(21);
    type(host, scanBand);
    expect(await tv.service.list()).toHaveLength(96);
    await simulator.clockSet({ speed: 0 });
    await tv.scan.start();
    type(host, stopScan);
    expect((await tv.scan.info())?.scanning).toBe(false);
  });
});
