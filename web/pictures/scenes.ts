// What is going on while each view is pictured: the clock is held, so that it is the same each time.

import type { Tv } from '@ostrel/tv';
import type { Simulator } from '@ostrel/tv/simulator';
import type { Page } from 'playwright-core';
import type { View } from '../src/app/route.js';
import { connected, type Host, noon, simulatorOf } from '../tests/support/host.js';

export interface Scene {
  /** The address, but for its view. */
  query?: string;
  /** Before the page is opened. */
  before?: (host: Host, simulator: Simulator) => Promise<unknown>;
  /** Once it is open. */
  then?: (page: Page, host: Host) => Promise<unknown>;
}

/** Something is half over. */
const halfPast = noon + 25 * 60;

/** Some minutes of life: a television asks what is on, a phone looks through the guide, somebody mistypes. */
async function live(host: Host): Promise<void> {
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
  for (let round = 0; round < 4; ++round) for (const attempt of tries) await attempt().catch(() => {});
}

/** Half of the band is behind it; what it found drops in while the page looks on. */
async function scanHalfWay(host: Host): Promise<void> {
  const tv: Tv = await connected(host.url);
  const simulator = await simulatorOf(host);
  await tv.scan.start();
  for (let second = 0; second < 29; ++second) await simulator.clockStep({ seconds: 1 });
}

export const scenes: Readonly<Record<View, Scene>> = {
  guide: { before: (_, simulator) => simulator.clockSet({ now: halfPast, speed: 0 }) },
  now: { before: (_, simulator) => simulator.clockSet({ now: halfPast, speed: 0 }) },
  channels: {},
  scan: { then: (_, host) => scanHalfWay(host) },
  query: { query: `?${new URLSearchParams({ q: `ServiceId in (1043, 1044) && Start >= ${noon} && Start < ${noon + 21600}` })}` },
  traffic: { before: live, then: (_, host) => live(host) },
  simulator: {
    before: async (host, simulator) => {
      await simulator.clockSet({ now: halfPast, speed: 0 });
      await simulator.weatherSet({
        rules: [
          { method: 'ITVGuide::*', delayMs: [200, 800] },
          { method: 'ITVService::nowNextGet', error: 'OutOfMemory', probability: 0.1 },
          { method: 'ITVConfig::onScanProgress', drop: 'notification', times: 3 },
        ],
        seed: 7,
      });
      await live(host);
    },
  },
};
