import type { EventInfo } from '@ostrel/tv';
import fc from 'fast-check';
import { describe, expect, test } from 'vitest';
import { eventBox, pixelOf, rowCells, type Span, timeOf } from '../../src/views/guide/cells';

const hour = 3600;

const event = (startTime: number, endTime: number, title = ''): EventInfo => ({
  serviceId: 1,
  startTime,
  endTime,
  title,
  description: '',
  highDefinition: false,
  extra: 0,
  genres: [],
});

const span = (from: number, to: number): Span => ({ from, to });

describe('eventBox: a day from 0, a hundred pixels an hour', () => {
  const scale = { origin: 0, pixelsPerHour: 100 };
  test.each([
    ['an hour', span(hour, 2 * hour), 100, 100],
    ['a minute', span(hour, hour + 60), 100, 2],
    ['a second on a pixel', span(hour, hour + 1), 100, 0],
    ['a second across a pixel', span(hour + 17, hour + 19), 100, 1],
    ['nine hours', span(9 * hour, 18 * hour), 900, 900],
    ['thirty hours, over both edges', span(-3 * hour, 27 * hour), 0, 2400],
    ['over the first edge', span(-hour, hour), 0, 100],
    ['over the last edge', span(23 * hour, 26 * hour), 2300, 100],
    ['before the first', span(-2 * hour, -hour), 0, 0],
    ['behind the last', span(25 * hour, 26 * hour), 2500, 0],
  ])('%s', (_, cell, left, width) => {
    expect(eventBox(cell, scale, span(0, 24 * hour))).toEqual({ left, width });
  });

  test('a time becomes a pixel, and that the time again, to half a pixel', () => {
    const time = fc.integer({ min: 0, max: 30 * 86_400 });
    fc.assert(
      fc.property(time, fc.integer({ min: 100, max: 1000 }), (at, pixelsPerHour) => {
        const fine = { origin: 0, pixelsPerHour };
        expect(Math.abs(timeOf(pixelOf(at, fine), fine) - at)).toBeLessThanOrEqual(hour / pixelsPerHour);
      }),
    );
  });
});

describe('rowCells: from 0 to 100', () => {
  const all = [span(0, 100)];
  const rows: [string, EventInfo[], Span[], string][] = [
    ['nothing asked', [], [], 'unknown 0-100'],
    ['no guide', [], all, 'gap 0-100'],
    ['one event', [event(0, 100, 'A')], all, 'A 0-100'],
    ['beyond both edges', [event(-50, 150, 'A')], all, 'A -50-150'],
    ['gaps around', [event(20, 40, 'A')], all, 'gap 0-20 A 20-40 gap 40-100'],
    ['end to end', [event(0, 50, 'A'), event(50, 100, 'B')], all, 'A 0-50 B 50-100'],
    ['overlap', [event(0, 60, 'A'), event(50, 100, 'B')], all, 'A 0-50 B 50-100'],
    ['one inside another', [event(0, 90, 'A'), event(10, 20, 'B')], all, 'A 0-10 B 10-20 gap 20-100'],
    ['together, the last one sent', [event(0, 100, 'A'), event(0, 100, 'B')], all, 'B 0-100'],
    ['no second long', [event(0, 100, 'A'), event(50, 50, 'B')], all, 'A 0-100'],
    ['ends before it starts', [event(50, 40, 'A')], all, 'gap 0-100'],
    ['outside', [event(-20, 0, 'A'), event(100, 120, 'B')], all, 'gap 0-100'],
    ['asked in part', [event(40, 50, 'A')], [span(40, 60)], 'unknown 0-40 A 40-50 gap 50-60 unknown 60-100'],
    ['reaches into what is not', [event(40, 80, 'A')], [span(40, 60)], 'unknown 0-40 A 40-80 unknown 80-100'],
    ['asked in two', [], [span(0, 40), span(60, 100)], 'gap 0-40 unknown 40-60 gap 60-100'],
    ['a seam does not show', [], [span(0, 40), span(40, 100)], 'gap 0-100'],
    ['asked for more', [], [span(-50, 150)], 'gap 0-100'],
  ];
  test.each(rows)('%s', (_, events, known, cells) => {
    const told = rowCells(events, known, span(0, 100)).map((c) => `${c.event?.title ?? c.kind} ${c.from}-${c.to}`);
    expect(told.join(' ')).toBe(cells);
  });

  const anyTime = fc.integer({ min: -200, max: 300 });
  const anyEvents = fc
    .array(fc.tuple(anyTime, fc.integer({ min: -5, max: 250 })))
    .map((all) => all.map(([start, length]) => event(start, start + length)).sort((a, b) => a.startTime - b.startTime));
  const anyKnown = fc
    .uniqueArray(anyTime, { maxLength: 8 })
    .map((times) => times.sort((a, b) => a - b))
    .map((times) => times.flatMap((from, i) => (i % 2 === 0 && i + 1 < times.length ? [span(from, times[i + 1]!)] : [])));

  test('every second is in exactly one cell, and boxes neither overlap nor leave a hole', () => {
    const scale = { origin: -500, pixelsPerHour: 500 };
    fc.assert(
      fc.property(anyEvents, anyKnown, (events, known) => {
        const cells = rowCells(events, known, span(0, 100));
        const boxes = cells.map((cell) => eventBox(cell, scale, span(-500, 1000)));
        expect(cells[0]!.from).toBeLessThanOrEqual(0);
        expect(cells.at(-1)!.to).toBeGreaterThanOrEqual(100);
        for (let i = 1; i < cells.length; i++) {
          expect(cells[i]!.from).toBe(cells[i - 1]!.to);
          expect(boxes[i]!.left).toBe(boxes[i - 1]!.left + boxes[i - 1]!.width);
        }
        for (const cell of cells) expect(cell.to).toBeGreaterThan(cell.from);
      }),
    );
  });
});
