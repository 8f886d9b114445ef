import { addDays, type Seconds, type Zone } from '../../parts/time';
import type { Cell, Span } from './cells';

/** What is selected: the cell of a row that a time falls into. Going up and down keeps the time. */
export interface Focus {
  readonly row: number;
  readonly time: Seconds;
}

/** What moveFocus() needs to know of a grid. */
export interface Grid extends Span {
  readonly rows: number;
  /** The cell that holds a time; every second from `from` to `to` is in one. */
  readonly cellAt: (row: number, time: Seconds) => Cell;
  readonly now: Seconds;
  readonly zone: Zone;
  /** How many rows a screen shows. */
  readonly page: number;
  /** How far one key goes sideways at most, in seconds: what is longer is walked through. */
  readonly reach: number;
}

const within = (value: number, least: number, most: number): number => Math.max(least, Math.min(most, value));

const isStepped = ({ kind, from, to }: Cell, reach: number): boolean => kind === 'gap' && to - from <= reach;

function right({ cellAt, reach, to: last }: Grid, { row, time }: Focus): Seconds {
  const { to } = cellAt(row, time);
  if (to >= last || to - time > reach) return time + reach;
  const next = cellAt(row, to);
  return isStepped(next, reach) ? next.to : to;
}

function left({ cellAt, reach, from: first }: Grid, { row, time }: Focus): Seconds {
  const { from } = cellAt(row, time);
  if (from <= first || time - from > reach) return time - reach;
  let before = cellAt(row, from - 1);
  if (isStepped(before, reach) && before.from > first) before = cellAt(row, before.from - 1);
  return Math.max(before.from, before.to - reach);
}

/**
 * Where a key leads, by the names of KeyboardEvent; undefined for a key that is not the grid's.
 *
 * The result is always in the grid. A short gap is stepped over, a long one is somewhere to be.
 */
export function moveFocus(grid: Grid, focus: Focus, key: string): Focus | undefined {
  const to = (change: Partial<Focus>): Focus => ({
    row: within(change.row ?? focus.row, 0, Math.max(0, grid.rows - 1)),
    time: within(change.time ?? focus.time, grid.from, grid.to - 1),
  });
  const here = to({});
  switch (key) {
    case 'ArrowRight':
      return to({ time: right(grid, here) });
    case 'ArrowLeft':
      return to({ time: left(grid, here) });
    case 'ArrowDown':
      return to({ row: here.row + 1 });
    case 'ArrowUp':
      return to({ row: here.row - 1 });
    case 'PageDown':
      return to({ row: here.row + grid.page });
    case 'PageUp':
      return to({ row: here.row - grid.page });
    case 'Home':
      return to({ time: grid.now });
    case '[':
      return to({ time: addDays(here.time, grid.zone, -1) });
    case ']':
      return to({ time: addDays(here.time, grid.zone, 1) });
    default:
      return undefined;
  }
}

/**
 * What to show of the time so that a focus is in sight, moved no further than needed.
 *
 * @param shown  what is shown now
 * @param cell   the selected one; shown whole where it fits
 * @param margin  seconds that are kept free beside it
 * @returns the first second to show
 */
export function reveal(shown: Span, cell: Span, time: Seconds, margin: number): Seconds {
  const length = shown.to - shown.from;
  const first = time - margin;
  const last = Math.min(cell.to, time + length - 2 * margin) + margin;
  if (first < shown.from) return first;
  return last > shown.to ? Math.min(first, last - length) : shown.from;
}
