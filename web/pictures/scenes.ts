// What is going on while each view is pictured: the clock is held, so that it is the same each time.

import type { Tv } from '@ostrel/tv';
import type { Simulator } from '@ostrel/tv/simulator';
import type { Page } from 'playwright-core';
import { connected, type Host, noon, simulatorOf } from '../tests/support/host.js';

export interface Scene {
  /** What the address holds behind the view. */
  query?: string;
  /** Before a page is opened. */
  before?: (host: Host, simulator: Simulator) => Promise<unknown>;
  /** Once one is open, at each size. */
  then?: (page: Page, host: Host) => Promise<unknown>;
}

/** Something is half over. */
const halfPast = noon + 25 * 60;

const pause = (milliseconds: number) => new Promise((done) => setTimeout(done, milliseconds));

/** Some life: a television asks what is on, a phone looks through the guide, somebody mistypes. For so many seconds. */
async function live(host: Host, seconds: number): Promise<void> {
  const [television, phone] = [await connected(host.url), await connected(host.url)];
  const tries: (() => Promise<unknown>)[] = [
    () => television.service.list(),
    () => television.service.nowNext(1043),
    () => television.service.nowNext(1044),
    () => phone.guide.window({ from: halfPast, to: halfPast + 7200 }),
    () => phone.guide.query(`ServiceId == 1043 && Start >= ${noon}`),
    () => phone.guide.query('ServiceId != 1043'),
    () => television.service.utcTimeGet(),
    () => phone.service.serviceListSeekByChannelNumber({ channelNumber: 1000 }),
    () => phone.guide.getGenreStringMapList(),
    () => television.service.nowNext(1033),
  ];
  for (let round = 0; round < seconds * 2; ++round) {
    for (const attempt of tries.slice(0, 2 + ((round * 7) % 9))) await attempt().catch(() => {});
    await pause(500);
  }
}

/** A box that knew nothing; most of the band is behind it, and what is found drops in while the page looks on. */
async function scanMostly(host: Host): Promise<void> {
  const tv: Tv = await connected(host.url);
  const simulator = await simulatorOf(host);
  await tv.scan.stop();
  await tv.scan.transponderListDeleteAll({ sourceId: 0 });
  await tv.scan.start();
  for (let second = 0; second < 37; ++second) {
    await simulator.clockStep({ seconds: 1 });
    await pause(200); // the page asks what is new, second by second
  }
}

/** Keys, one after the other, once something of the view is there to take them. */
async function press(page: Page, ...keys: string[]): Promise<void> {
  await page.getByText('BBC ONE').first().waitFor();
  for (const key of keys) await page.keyboard.press(key);
}

const atHalfPast = (_: Host, simulator: Simulator) => simulator.clockSet({ now: halfPast, speed: 0 });
const asking = (expression: string) => `?${new URLSearchParams({ q: expression })}`;

/** By name of the picture; what stands before a dash is the view. */
export const scenes: Readonly<Record<string, Scene>> = {
  guide: { before: atHalfPast },
  'guide-show': { before: atHalfPast, then: (page) => press(page, 'f') },
  now: { before: atHalfPast },
  channels: { then: (page) => press(page, '.', '.', '.', 'r') },
  scan: { then: (_, host) => scanMostly(host) },
  query: { query: asking(`ServiceId in (1043, 1044) && Start >= ${noon} && Start < ${noon + 21600}`) },
  'query-mistake': { query: asking('ServiceId == 1043 && (End > -95') },
  traffic: {
    before: async (host, simulator) => {
      await simulator.weatherSet({ rules: [{ method: 'ITVGuide::*', delayMs: [2, 90] }], seed: 7 });
      await live(host, 20);
    },
    then: (_, host) => live(host, 4),
  },
  simulator: {
    before: async (host, simulator) => {
      await atHalfPast(host, simulator);
      await simulator.weatherSet({
        rules: [
          { method: 'ITVGuide::queryNowNextEventInfo', error: 'OutOfMemory', probability: 0.1 },
          { method: 'ITVGuide::*', delayMs: [20, 80] },
          { notifications: true, method: 'ITVConfig::onScanProgress', drop: 'notification', times: 3 },
        ],
        seed: 7,
      });
      await simulator.signalSet({ strength: 82, quality: 64 });
      await live(host, 4);
    },
  },
};
