import type { EventInfo } from '@ostrel/tv';
import type { Seconds } from '../../parts/time';

/** From its first second up to the first that is no longer its own. */
export interface Span {
  readonly from: Seconds;
  readonly to: Seconds;
}

/** What a row shows for a while: an event, that the guide holds none, or that it has not been asked yet. */
export interface Cell extends Span {
  readonly kind: 'event' | 'gap' | 'unknown';
  readonly event?: EventInfo;
}

/**
 * A row without a hole: every second of the span is in exactly one cell.
 *
 * Events keep their length beyond the span. Where two overlap the later one goes first, and of two that begin
 * together the one that is sent last; what is hidden by that, or lasts no second, has no cell.
 *
 * @param events  of one service, by their start
 * @param known   the parts of the span that the service was asked for, in order, without overlap
 */
export function rowCells(events: readonly EventInfo[], known: readonly Span[], { from, to }: Span): Cell[] {
  const cells: Cell[] = [];
  let at = from;
  const fillTo = (end: Seconds) => {
    for (const part of known) {
      if (part.to <= at || part.from >= end) continue;
      if (part.from > at) cells.push({ kind: 'unknown', from: at, to: part.from });
      at = Math.max(at, part.from);
      const last = Math.min(part.to, end);
      cells.push({ kind: 'gap', from: at, to: last });
      at = last;
    }
    if (at < end) cells.push({ kind: 'unknown', from: at, to: end });
    at = Math.max(at, end);
  };
  const lasting = events.filter(({ startTime, endTime }) => endTime > startTime);
  lasting.forEach((event, i) => {
    const start = event.startTime;
    const end = Math.min(event.endTime, lasting[i + 1]?.startTime ?? Infinity);
    if (end <= start || end <= from || start >= to) return;
    if (start > at) fillTo(start);
    cells.push({ kind: 'event', from: start, to: end, event });
    at = end;
  });
  if (at < to) fillTo(to);
  return joined(cells);
}

/** A gap across the seam of two answers is one gap. */
function joined(cells: readonly Cell[]): Cell[] {
  const whole: Cell[] = [];
  for (const cell of cells) {
    const before = whole.at(-1);
    if (before !== undefined && before.kind === cell.kind && cell.kind !== 'event')
      whole[whole.length - 1] = { ...before, to: cell.to };
    else whole.push(cell);
  }
  return whole;
}

/** Where the grid draws time: pixels from its first second. */
export interface Scale {
  readonly origin: Seconds;
  readonly pixelsPerHour: number;
}

export interface Box {
  readonly left: number;
  readonly width: number;
}

export const pixelOf = (time: Seconds, { origin, pixelsPerHour }: Scale): number =>
  Math.round(((time - origin) * pixelsPerHour) / 3600);

export const timeOf = (pixel: number, { origin, pixelsPerHour }: Scale): Seconds =>
  Math.round(origin + (pixel * 3600) / pixelsPerHour);

/**
 * Where a cell is drawn, in whole pixels from the grid's first second. Neighbours share an edge, so boxes neither
 * overlap nor leave a hole; what is shorter than a pixel may have a width of 0.
 *
 * @param within  what the grid holds: nothing is drawn outside
 */
export function eventBox(cell: Span, scale: Scale, within: Span): Box {
  const left = pixelOf(Math.max(cell.from, within.from), scale);
  return { left, width: Math.max(0, pixelOf(Math.min(cell.to, within.to), scale) - left) };
}
