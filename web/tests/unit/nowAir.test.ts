import type { EventInfo } from '@ostrel/tv';
import fc from 'fast-check';
import { describe, expect, test } from 'vitest';
import { type Air, eventsBehind, isShort, moveOn, onAt, pageSize, reaches, readOn, startAir } from '../../src/views/now/air';

const event = (serviceId: number, startTime: number, endTime: number): EventInfo =>
  ({ serviceId, startTime, endTime, title: `${serviceId} at ${startTime}`, description: '', highDefinition: false, extra: 0, genres: [0] });

/** Answers as the service does: what is on, and the events of a slice by their start. */
function read(guide: readonly EventInfo[], at: number, upTo = at): Air {
  const ordered = [...guide].sort((a, b) => a.startTime - b.startTime);
  let air = startAir(at, ordered.filter(({ startTime, endTime }) => startTime < at + 1 && endTime > at));
  do {
    const { timeRange, sliceRange } = eventsBehind(air.next).query;
    air = readOn(air, ordered.filter(({ startTime }) => startTime >= timeRange!.base!).slice(sliceRange!.base, sliceRange!.limit));
  } while (air.until <= upTo);
  return air;
}

const titles = ({ on }: Air) => [...on.values()].sort((a, b) => a.serviceId - b.serviceId).map(({ title }) => title);

const guide = [event(1, 0, 100), event(1, 100, 200), event(2, 50, 150), event(2, 170, 200), event(3, 120, 130)];

describe('what is on', () => {
  // prettier-ignore
  test.each([
    ['at the beginning',                       60,  60, ['1 at 0', '2 at 50']],
    ['the second before something ends',       60,  99, ['1 at 0', '2 at 50']],
    ['the second in which something begins',   60, 100, ['1 at 100', '2 at 50']],
    ['when one that was off the air begins',   60, 120, ['1 at 100', '2 at 50', '3 at 120']],
    ['when one ends and nothing follows',      60, 130, ['1 at 100', '2 at 50']],
    ['in a gap',                               60, 150, ['1 at 100']],
    ['behind a gap, and past what was short',  60, 180, ['1 at 100', '2 at 170']],
    ['at the end of the guide',                60, 200, []],
    ['before the guide',                       -9,  -1, []],
    ['from before the guide on',               -9,   0, ['1 at 0']],
  ])('%s', (_, at, now, wanted) => expect(titles(moveOn(read(guide, at), now))).toEqual(wanted));

  test('is the same object until something ends or begins', () => {
    const air = read(guide, 60);
    expect(moveOn(air, 99)).toBe(air);
    expect(moveOn(air, 100)).not.toBe(air);
    expect(air.changes).toBe(100);
  });

  test('is what the service would say, whatever the guide, and however it is read', () => {
    const services = fc.array(fc.array(fc.tuple(fc.integer({ min: 0, max: 30 }), fc.integer({ min: 1, max: 90 })), { maxLength: 8 }), { maxLength: 9 });
    fc.assert(
      fc.property(services, fc.integer({ min: 0, max: 400 }), fc.array(fc.integer({ min: 0, max: 60 }), { maxLength: 6 }), (lengths, at, steps) => {
        const random = lengths.flatMap((events, id) => {
          let end = 0;
          return events.map(([gap, length]) => event(id, end + gap, (end += gap + length)));
        });
        let air = read(random, at);
        let now = at;
        for (const step of steps) {
          air = moveOn(air, (now += step));
          expect(titles(air)).toEqual(titles(startAir(now, random.filter(({ startTime, endTime }) => startTime <= now && endTime > now))));
        }
      }),
    );
  });
});

describe('the guide is read on', () => {
  /** More services than a page holds begin together, and again a minute later. */
  const crowd = Array.from({ length: 2 * pageSize + 10 }, (_, id) => [event(id, 1000, 1060), event(id, 1060, 1120)]).flat();

  test('each event once, however many begin in the same second', () => {
    const air = read(crowd, 0, 1061);
    const read_ = air.coming.map(({ title }) => title);
    expect(new Set(read_).size).toBe(read_.length);
    expect(moveOn(air, 1000).on.size).toBe(2 * pageSize + 10);
    expect(moveOn(air, 1060).on.size).toBe(2 * pageSize + 10);
  });

  test('and not past a second of which events may be missing', () => {
    const air = read(crowd, 0);
    expect(air.coming).toHaveLength(pageSize);
    expect(air.until).toBe(1000);
    expect(air.next).toEqual({ start: 1000, read: pageSize });
    expect([reaches(air, 999), reaches(air, 1000)]).toEqual([true, false]);
  });

  test('to its end', () => {
    const air = read(guide, 60);
    expect(air.until).toBe(Infinity);
    expect(reaches(air, 1e9)).toBe(true);
    expect(isShort(air, 1e9, 3600)).toBe(false);
  });

  test('by two questions', () => {
    expect(onAt(60)).toEqual({ query: { timeRange: { base: 60, limit: 61 } } });
    expect(eventsBehind({ start: 61, read: 3 })).toEqual({
      query: { timeRange: { strict: true, base: 61 }, sliceRange: { base: 3, limit: 3 + pageSize } },
    });
  });

  // prettier-ignore
  test.each([
    [1000, 399, 1, false], [1000, 401, 1, true], [1000, 399, 60, false], [1000, 401, 60, true], [1000, 399, 0, false],
    [40_000, 3999, 3600, false], [40_000, 4001, 3600, true],
  ])('what is known until %d is short at %d at speed %d: %s', (until, now, speed, wanted) => {
    expect(isShort({ ...read(guide, 60), until }, now, speed)).toBe(wanted);
  });
});

test('a clock that goes back is noticed, but for the second that it is measured better', () => {
  const air = read(guide, 60);
  expect([reaches(air, 60), reaches(air, 59), reaches(air, 58)]).toEqual([true, true, false]);
});
