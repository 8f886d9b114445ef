import type { EventInfo } from '@ostrel/tv';
import fc from 'fast-check';
import { describe, expect, test } from 'vitest';
import { rowCells } from '../../src/views/guide/cells';
import { type Grid, moveFocus, reveal } from '../../src/views/guide/focus';

const minute = 60;
const hour = 3600;
const day = 86_400;

/** A grid of days of 2011 around 16 October, from rows of "start-end" in hours since its midnight. */
const midnight = Date.UTC(2011, 9, 16) / 1000;
const grid = (rows: readonly string[], more: Partial<Grid> = {}): Grid => {
  const span = { from: midnight - 7 * day, to: midnight + 15 * day };
  const cells = rows.map((row) => {
    const events = row.split(' ').filter(Boolean).map((text): EventInfo => {
      const [from, to] = text.split('-').map((hours) => midnight + Number(hours) * hour);
      return { serviceId: 1, startTime: from!, endTime: to!, title: text, description: '', highDefinition: false, extra: 0, genres: [] };
    });
    return rowCells(events, [span], span);
  });
  return {
    ...span,
    rows: rows.length,
    cellAt: (row, time) => cells[row]!.find((cell) => cell.from <= time && cell.to > time)!,
    now: midnight + 12.5 * hour,
    zone: 'UTC',
    page: 3,
    reach: hour,
    ...more,
  };
};

const rows = [
  '11-12 12-13 13-13.5 13.5-15',
  '11.5-12.25 12.25-12.75 12.75-14',
  '', // no guide
  '11-12 12.5-13 22-23', // a short gap, a long one
  '3-33', // thirty hours
  '12-12.001 12.001-13', // three seconds
];

const table: [string, number, number, string, number, number][] = [
  // name, row and hour, keys, row and hour
  ['right to the next', 0, 12, 'ArrowRight', 0, 13],
  ['right from the middle', 0, 12.5, 'ArrowRight', 0, 13],
  ['right over a short gap', 3, 11.5, 'ArrowRight', 3, 12.5],
  ['right into a long gap', 3, 12.75, 'ArrowRight', 3, 13],
  ['right through a long gap', 3, 13, 'ArrowRight', 3, 14],
  ['right out of a long gap', 3, 21.5, 'ArrowRight', 3, 22],
  ['right through thirty hours', 4, 12, 'ArrowRight ArrowRight', 4, 14],
  ['right where there is no guide', 2, 12, 'ArrowRight', 2, 13],
  ['right onto three seconds and off', 5, 11.5, 'ArrowRight ArrowRight', 5, 12.001],
  ['left to the one before', 0, 13, 'ArrowLeft', 0, 12],
  ['left from the middle', 0, 12.5, 'ArrowLeft', 0, 11],
  ['left over a short gap', 3, 12.5, 'ArrowLeft', 3, 11],
  ['left into a long gap', 3, 22, 'ArrowLeft', 3, 21],
  ['left through thirty hours', 4, 12, 'ArrowLeft ArrowLeft', 4, 10],
  ['left where there is no guide', 2, 12, 'ArrowLeft', 2, 11],
  ['left onto three seconds', 5, 12.5, 'ArrowLeft', 5, 12],
  ['down keeps the time', 0, 12, 'ArrowDown', 1, 12],
  ['down, down, up, up: where it was', 0, 13.25, 'ArrowDown ArrowDown ArrowUp ArrowUp', 0, 13.25],
  ['down through a row without guide', 1, 12.5, 'ArrowDown ArrowDown', 3, 12.5],
  ['the time that sideways chose', 0, 12, 'ArrowDown ArrowRight ArrowUp', 0, 12.25],
  ['up at the top', 0, 12, 'ArrowUp', 0, 12],
  ['down at the bottom', 5, 12, 'ArrowDown', 5, 12],
  ['a screen down', 0, 12, 'PageDown', 3, 12],
  ['a screen down at the bottom', 4, 12, 'PageDown', 5, 12],
  ['a screen up', 5, 12, 'PageUp', 2, 12],
  ['a screen up at the top', 1, 12, 'PageUp', 0, 12],
  ['home', 3, 90, 'Home', 3, 12.5],
  ['a day on', 0, 12, ']', 0, 36],
  ['a day back', 0, 12, '[', 0, -12],
  ['a day back at the first', 0, -160, '[', 0, -168],
  ['a day on at the last', 0, 350, ']', 0, 360 - 1 / 3600],
  ['left at the first', 0, -168, 'ArrowLeft', 0, -168],
  ['right at the last', 0, 360 - 1 / 3600, 'ArrowRight', 0, 360 - 1 / 3600],
];

test.each(table)('moveFocus: %s', (_, row, at, keys, toRow, toHour) => {
  const it = grid(rows);
  let focus = { row, time: Math.round(midnight + at * hour) };
  for (const key of keys.split(' ')) focus = moveFocus(it, focus, key)!;
  expect({ row: focus.row, hour: (focus.time - midnight) / hour }).toEqual({ row: toRow, hour: expect.closeTo(toHour, 3) });
});

describe('moveFocus', () => {
  test.each(['a', 'Enter', 'Tab', 'Escape', '1'])('leaves %s alone', (key) => {
    expect(moveFocus(grid(rows), { row: 0, time: midnight }, key)).toBeUndefined();
  });

  test('a day on keeps the time on the clock when that is put back', () => {
    const noon = Date.UTC(2011, 9, 29, 11) / 1000;
    const to = moveFocus(grid(rows, { zone: 'Europe/London' }), { row: 0, time: noon }, ']')!;
    expect(to.time - noon).toBe(25 * hour);
  });

  test('a grid without rows has a place all the same', () => {
    expect(moveFocus(grid([]), { row: 3, time: midnight }, 'ArrowDown')).toEqual({ row: 0, time: midnight });
  });

  const anyRows = fc.array(
    fc
      .array(fc.tuple(fc.integer({ min: 0, max: 300 }), fc.integer({ min: 1, max: 1800 })), { maxLength: 20 })
      .map((pairs) => {
        let at = 0;
        return pairs.map(([gap, length]) => `${(at += gap) / 60}-${(at += length) / 60}`).join(' ');
      }),
    { minLength: 1, maxLength: 6 },
  );
  const anyKeys = fc.array(
    fc.constantFrom('ArrowLeft', 'ArrowRight', 'ArrowUp', 'ArrowDown', 'PageUp', 'PageDown', 'Home', '[', ']'),
    { maxLength: 60 },
  );

  test('is always on something, and gets on sideways until it is at the edge', () => {
    fc.assert(
      fc.property(anyRows, anyKeys, (texts, keys) => {
        const it = grid(texts);
        let focus = { row: 0, time: it.now };
        for (const key of keys) {
          const before = focus;
          focus = moveFocus(it, focus, key)!;
          expect(it.cellAt(focus.row, focus.time)).toBeDefined();
          if (key === 'ArrowRight' && before.time < it.to - 1) expect(focus.time).toBeGreaterThan(before.time);
          if (key === 'ArrowLeft' && before.time > it.from) expect(focus.time).toBeLessThan(before.time);
          if (/Up|Down/.test(key)) expect(focus.time).toBe(before.time);
        }
      }),
    );
  });

  test('left goes back over what right has passed, cell by cell', () => {
    fc.assert(
      fc.property(anyRows, (texts) => {
        const it = grid(texts, { reach: 22 * day });
        const seen = [midnight - 7 * day];
        for (;;) {
          const next = moveFocus(it, { row: 0, time: seen.at(-1)! }, 'ArrowRight')!.time;
          if (next >= it.to - 1) break;
          seen.push(next);
        }
        for (let i = seen.length - 1; i > 0; i--)
          expect(moveFocus(it, { row: 0, time: seen[i]! }, 'ArrowLeft')!.time).toBe(seen[i - 1]);
      }),
    );
  });
});

describe('reveal: shown is 12:00 to 15:00, a quarter of an hour kept free', () => {
  const at = (hours: number): number => midnight + Math.round(hours * hour);
  test.each([
    ['in sight', 12.5, 13.5, 12.5, 12],
    ['begins before, chosen in sight', 9, 13, 12.5, 12],
    ['ends behind: no further than needed', 14, 15, 14, 12.25],
    ['longer than the screen: from its start', 14, 20, 14, 13.75],
    ['behind', 16, 17, 16, 14.25],
    ['before', 10, 11, 10, 9.75],
    ['just at the first edge', 12, 13, 12, 11.75],
  ])('%s', (_, from, to, time, first) => {
    expect(reveal({ from: at(12), to: at(15) }, { from: at(from), to: at(to) }, at(time), 15 * minute)).toBe(at(first));
  });
});
