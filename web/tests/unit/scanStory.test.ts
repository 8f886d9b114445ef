// What is known of a scan: where services were found, and how long it takes.

import type { ScanInfo, ServiceInfo } from '@ostrel/tv';
import type { Message } from '@ostrel/tv/simulator';
import { describe, expect, test } from 'vitest';
import {
  countNew, groupsOf, joined, noStory, placesOf, placeText, type Sample, secondsLeft, type Story, storyIn, withSample,
} from '../../src/views/scan/story.js';

const told = (plan: Story['plan'], ...samples: Sample[]): Story => ({ plan, samples });
const between = (fromMHz: number, toMHz = fromMHz) => ({ fromMHz, toMHz });

test('the three kinds are counted, not what the service counts', () => {
  expect(countNew({ servicesFound: 90, tvServices: 18, radioServices: 3, type3Services: 1 } as ScanInfo)).toBe(22);
});

describe('samples', () => {
  test('stand behind each other', () => {
    const story = withSample(withSample(told('band'), { percent: 0, count: 0 }), { percent: 2, count: 0 });
    expect(story).toEqual(told('band', { percent: 0, count: 0 }, { percent: 2, count: 0 }));
  });

  test('that say the same are one', () => {
    const story = told('band', { percent: 2, count: 0, at: 5 });
    expect(withSample(story, { percent: 2, count: 0, at: 6 })).toBe(story);
  });

  test.each([{ percent: 1, count: 9 }, { percent: 50, count: 8 }])('with %j after 2 %% and 9 services are of another scan', (sample) => {
    expect(withSample(told('band', { percent: 2, count: 9 }), sample)).toEqual(told('unknown', sample));
  });
});

describe('services of a scan of the band', () => {
  test('are exactly where they were found if it was watched', () => {
    const story = told('band', { percent: 56, count: 0 }, { percent: 58, count: 2 }, { percent: 66, count: 3 }, { percent: 66, count: 3 });
    expect(placesOf(story, 2)).toEqual([between(690), between(690)]);
  });

  test('lie between two samples', () => {
    expect(placesOf(told('band', { percent: 50, count: 0 }, { percent: 70, count: 1 }), 1)).toEqual([between(666, 738)]);
  });

  test('that were there before the first sample lie behind the start', () => {
    expect(placesOf(told('band', { percent: 60, count: 21 }), 1)).toEqual([between(474, 698)]);
  });

  test('that no sample has counted yet are nowhere', () => {
    expect(placesOf(told('band', { percent: 60, count: 1 }), 2)).toEqual([between(474, 698), undefined]);
  });

  test.each(['transponders', 'unknown'] as const)('are nowhere if it goes over %s', (plan) => {
    expect(placesOf(told(plan, { percent: 100, count: 1 }), 1)).toEqual([undefined]);
  });
});

test('services that were found together are one group', () => {
  const services = ['A', 'B', 'C'].map((name) => ({ name }) as ServiceInfo);
  const groups = groupsOf(services, [between(690), between(690), undefined]);
  expect(groups.map(({ place, services }) => [placeText(place), services.map(({ name }) => name)])).toEqual([
    ['690 MHz · channel 48', ['A', 'B']],
    ['Frequency not known', ['C']],
  ]);
  expect(placeText(between(474, 482))).toBe('Between 474 and 482 MHz');
  expect(placeText(between(691))).toBe('691 MHz');
});

describe('what is left', () => {
  test('of the band is known at once', () => expect(secondsLeft(told('band', { percent: 25, count: 0 }))).toBe(36));

  test('of a list is told by how it goes', () => {
    const first = { percent: 16, count: 0, at: 1000 };
    expect(secondsLeft(told('transponders', first))).toBeUndefined();
    expect(secondsLeft(told('transponders', first, { percent: 50, count: 0, at: 1002 }))).toBeCloseTo(2.94);
  });

  test('is not known where the clock has not gone on, or nobody knows when', () => {
    expect(secondsLeft(told('unknown', { percent: 16, count: 0, at: 1000 }, { percent: 50, count: 0, at: 1000 }))).toBeUndefined();
    expect(secondsLeft(told('unknown', { percent: 16, count: 0 }, { percent: 50, count: 0 }))).toBeUndefined();
    expect(secondsLeft(noStory)).toBeUndefined();
  });
});

describe('the story in the traffic', () => {
  const message = (direction: Message['direction'], method: string, text = ''): Message => ({
    time: 0, connection: 1, client: '', direction, method, micros: 0, bytes: 0, text,
  });
  const info = (progress: number, tvServices: number) =>
    message('reply', '', JSON.stringify({ jsonrpc: '2.0', id: 1, result: { scanning: true, progress, tvServices, radioServices: 0, type3Services: 0 } }));
  const started = message('notification', 'ITVConfig::onScanStart');

  test('is the latest scan, by the request before its start', () => {
    const messages = [
      message('request', 'ITVConfig::scanStart'), started, info(100, 5),
      message('request', 'ITVConfig::scanBlindStart'), started, info(0, 0), info(2, 1),
      message('request', 'ITVConfig::scanStart'), // refused
    ];
    expect(storyIn(messages)).toEqual(told('band', { percent: 0, count: 0 }, { percent: 2, count: 1 }));
  });

  test.each([['scanBlindStart', 'band'], ['scanStart', 'transponders']])('knows %s by its short name', (method, plan) => {
    expect(storyIn([message('request', method), started]).plan).toBe(plan);
  });

  test('is unknown where the start has gone, and makes nothing of what is cut off', () => {
    expect(storyIn([info(2, 1), started])).toEqual(noStory);
    expect(storyIn([message('request', 'ITVConfig::scanBlindStart'), started, message('reply', '', '{"result":{"tvServices"')])).toEqual(told('band'));
  });

  test('goes on in what this page was told', () => {
    const earlier = told('band', { percent: 0, count: 0 }, { percent: 50, count: 3 }, { percent: 60, count: 4 });
    const own = told('unknown', { percent: 50, count: 3, at: 7 }, { percent: 52, count: 3, at: 8 });
    expect(joined(earlier, own)).toEqual(told('band', { percent: 0, count: 0 }, { percent: 50, count: 3 }, { percent: 50, count: 3, at: 7 }, { percent: 52, count: 3, at: 8 }));
    expect(joined(earlier, noStory)).toEqual(earlier);
  });
});
