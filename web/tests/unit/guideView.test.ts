import type { EventInfo, ServiceInfo, Tv } from '@ostrel/tv';
import { TimedOut } from '@ostrel/tv';
import { describe, expect, test } from 'vitest';
import { blockLength, blocksOf, mostBlocks } from '../../src/views/guide/blocks';
import { expressionsOf } from '../../src/views/guide/episodes';
import { type Filter, fits, isFiltering, readFilter } from '../../src/views/guide/filter';
import { leadIn } from '../../src/views/guide/geometry';
import { cellsOf, Loader } from '../../src/views/guide/known';
import { cellLabel, rowOf } from '../../src/views/guide/labels';
import { findNext, formsOf } from '../../src/views/guide/search';

const noon = Date.UTC(2011, 9, 16, 11) / 1000;
const one: ServiceInfo = {
  channelNumber: 1, name: 'BBC ONE', uri: '', id: 1043, type: 1, provider: '', scrambled: false, highDefinition: false, visible: true, selectable: true,
};
const gate: EventInfo = {
  serviceId: 1043, startTime: noon, endTime: noon + 3600, title: 'Gate and Stile', description: 'A walk.', highDefinition: false, extra: 0, genres: [0xa0],
};
const cellOf = (event: EventInfo) => ({ kind: 'event' as const, from: event.startTime, to: event.endTime, event });

test('cellLabel', () => {
  expect(cellLabel(one, cellOf(gate), 'Europe/London', true)).toBe('BBC ONE, 12:00 to 13:00, Gate and Stile, on now');
  expect(cellLabel(one, cellOf({ ...gate, title: '' }), 'UTC', false)).toBe('BBC ONE, 11:00 to 12:00, Untitled');
  expect(cellLabel(one, { kind: 'gap', from: 0, to: 1 }, 'UTC', false)).toBe('BBC ONE, no guide data');
  expect(cellLabel(one, { kind: 'unknown', from: 0, to: 1 }, 'UTC', false)).toBe('BBC ONE, not loaded yet');
});

test('of services that share a number the one that was chosen is selected', () => {
  const services = [one, { ...one, id: 2000 }, { ...one, id: 3000, channelNumber: 3 }];
  expect(rowOf(services, { channel: 1, serviceId: 2000 })).toBe(1);
  expect(rowOf(services, { channel: 1 })).toBe(0);
  expect(rowOf(services, { channel: 3, serviceId: 4000 })).toBe(2); // it has left the list
  expect(rowOf(services, { channel: 9 })).toBe(0);
});

describe('filter', () => {
  const read = (text: string): Filter => readFilter(new URLSearchParams(text));
  test.each([
    ['', true],
    ['genre=leisure', true],
    ['genre=movie', false],
    ['genre=nonsense', true],
    ['text=STILE', true],
    ['text=a+walk', true],
    ['text=run', false],
    ['hd=1', false],
    ['kind=television', true],
    ['kind=radio', false],
    ['on=1', true],
    ['genre=leisure&text=gate&kind=television&on=1', true],
  ])('%s: %s', (params, does) => {
    expect(fits(read(params), one, gate, noon)).toBe(does);
  });

  test('on now ends with its last second', () => {
    expect(fits(read('on=1'), one, gate, noon - 1)).toBe(false);
    expect(fits(read('on=1'), one, gate, noon + 3599)).toBe(true);
    expect(fits(read('on=1'), one, gate, noon + 3600)).toBe(false);
  });

  test('high definition is the event\'s or the service\'s', () => {
    expect(fits(read('hd=1'), { ...one, highDefinition: true }, gate, noon)).toBe(true);
    expect(fits(read('hd=1'), one, { ...gate, highDefinition: true }, noon)).toBe(true);
  });

  test('only what is there filters', () => {
    expect(isFiltering(read('at=2011-10-16T12:00&channel=1&only=1'))).toBe(false);
    expect(isFiltering(read('hd=1'))).toBe(true);
  });
});

test.each([
  ['gate and stile', ['stile', 'Stile', 'STILE']],
  ['Å', ['å', 'Å']],
  ['4', ['4']],
])('formsOf %s', (text, forms) => expect(formsOf(text)).toEqual(forms));

describe('findNext', () => {
  const two = { ...one, channelNumber: 2, id: 1044 };
  const filter = readFilter(new URLSearchParams('text=stile'));
  const find = (events: EventInfo[], row = 0, signal = new AbortController().signal) => {
    const asked: AbortSignal[] = [];
    const queryEventInfo = (_: unknown, options: { signal: AbortSignal }) => (asked.push(options.signal), Promise.resolve(events));
    return { asked, found: findNext({ guide: { queryEventInfo } } as unknown as Tv, filter, [one, two], noon, row, signal) };
  };
  const below = { ...gate, serviceId: two.id };
  const later = { ...gate, startTime: noon + 3600, endTime: noon + 7200 };

  test.each([
    ['at the same time further down', [gate, later, below], 0, below],
    ['later, behind the last row', [gate, below, later], 1, later],
    ['none that is not shown, or does not match', [{ ...later, serviceId: 1 }, { ...later, title: 'Gate' }], 0, undefined],
  ])('%s', async (_, events, row, expected) => expect(await find(events, row).found).toEqual(expected));

  test('whoever does not want to know any more ends the question', async () => {
    const { signal } = new AbortController();
    const { asked, found } = find([], 0, signal);
    await found;
    expect(asked).toEqual([signal]);
  });
});

test('leadIn: a half hour, 15 to 45 minutes before', () => {
  for (let at = noon; at < noon + 7200; at += 60) {
    expect(leadIn(at) % 1800).toBe(0);
    expect(at - leadIn(at)).toBeGreaterThanOrEqual(900);
    expect(at - leadIn(at)).toBeLessThan(2700);
  }
});

test('expressionsOf: a service each, no more starts than an expression holds', () => {
  const events = Array.from({ length: 14 }, (_, i) => ({ serviceId: i === 13 ? 2 : 1, startTime: i }));
  expect(expressionsOf(events)).toEqual([
    'ServiceId == 1 && Start in (0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11)',
    'ServiceId == 1 && Start in (12)',
    'ServiceId == 2 && Start in (13)',
  ]);
});

describe('Loader', () => {
  /** A service of which a test answers the questions by hand. */
  function service() {
    const asked: { from: number; give: (events: EventInfo[]) => void; fail: (error: Error) => void }[] = [];
    let resync = () => {};
    const tv = {
      state: 'open',
      on: (_: string, listener: () => void) => ((resync = listener), () => {}),
      guide: { window: ({ from }: { from: number }) => new Promise((give, fail) => asked.push({ from, give, fail })) },
    };
    const loader = new Loader(tv as unknown as Tv);
    loader.start();
    return { loader, asked, tv, resync: () => resync(), next: () => asked.shift()! };
  }
  const span = (from: number, length = 2 * 3600) => ({ from, to: from + length });
  const settle = () => new Promise((done) => setTimeout(done));

  test('asks for two blocks at once, the middle first, until all is there', async () => {
    const { loader, asked } = service();
    loader.show({ from: noon, to: noon + 4 * 3600 });
    expect(asked).toHaveLength(2);
    const order: number[] = [];
    for (let i = 0; i < asked.length; i++) {
      order.push(asked[i]!.from);
      asked[i]!.give([]);
      await settle();
    }
    expect(new Set(order).size).toBe(order.length);
    expect(order.length).toBe(blocksOf({ from: noon - 7200, to: noon + 6 * 3600 }).length);
    expect(Math.abs(order[0]! + blockLength / 2 - (noon + 7200))).toBeLessThanOrEqual(blockLength);
  });

  test('what spans two blocks is one cell, once', async () => {
    const { loader, next } = service();
    const seam = Math.ceil(noon / blockLength) * blockLength;
    const long = { ...gate, startTime: seam - 600, endTime: seam + 600 };
    loader.show(span(seam - 3600));
    for (let i = 0; i < 2; i++) next().give([long]);
    await settle();
    const cells = cellsOf(loader.known.get(), 1043, { from: seam - 1200, to: seam + 1200 });
    expect(cells.map(({ kind }) => kind)).toEqual(['gap', 'event', 'gap']);
  });

  test('whoever flies over days is kept no more than a bounded part of them', async () => {
    const { loader, asked } = service();
    for (let hour = 0; hour < 14 * 24; hour += 4) {
      loader.show(span(noon + hour * 3600, 4 * 3600));
      while (asked.length > 0) {
        asked.shift()!.give([]);
        await settle();
      }
      expect(loader.known.get().blocks.size).toBeLessThanOrEqual(mostBlocks);
    }
  });

  test('a failure is told and asks no more until it is tried again', async () => {
    const { loader, asked, next } = service();
    loader.show(span(noon));
    next().fail(new TimedOut('no reply'));
    next().give([]);
    await settle();
    expect(loader.known.get().error).toBeInstanceOf(TimedOut);
    loader.show(span(noon + 86_400));
    expect(asked).toHaveLength(0);
    loader.retry();
    expect(loader.known.get().error).toBeUndefined();
    expect(asked).toHaveLength(2);
  });

  test('on a new connection everything is asked for again, and the old picture stays until then', async () => {
    const { loader, asked, resync } = service();
    loader.show(span(noon));
    while (asked.length > 0) {
      asked.shift()!.give([gate]);
      await settle();
    }
    resync();
    expect(asked.length).toBeGreaterThan(0);
    expect(cellsOf(loader.known.get(), 1043, span(noon, 60))[0]?.event).toEqual(gate);
  });
});
