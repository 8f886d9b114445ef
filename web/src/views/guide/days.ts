import { tzOffset } from '@date-fns/tz';
import { dayStart, type Seconds, type Zone } from '../../parts/time';
import type { Span } from './cells';

/** How many days the guide goes back from today, and ahead. */
const daysBack = 7;
const daysAhead = 14;

/** The day that a time is in, of 23, 24 or 25 hours. */
export const dayOf = (time: Seconds, zone: Zone): Span => ({ from: dayStart(time, zone), to: dayStart(time, zone, 1) });

/** The days of a span, each by its first second. */
export function daysIn({ from, to }: Span, zone: Zone): Seconds[] {
  const days: Seconds[] = [];
  for (let day = dayOf(from, zone); day.from < to; day = dayOf(day.to, zone)) days.push(day.from);
  return days;
}

/**
 * Which days the grid holds: a week back from today and two ahead. Where `at` is not among them, those that it held
 * `before`, or else those around `at`.
 */
export function daysAround(now: Seconds, at: Seconds, zone: Zone, before?: Span): Span {
  const around = (time: Seconds): Span => ({
    from: dayStart(time, zone, -daysBack),
    to: dayStart(time, zone, daysAhead + 1),
  });
  const isIn = ({ from, to }: Span) => at >= from && at < to;
  const days = around(now);
  if (isIn(days)) return days;
  return before !== undefined && isIn(before) ? before : around(at);
}

/** All time zones of today are whole quarters of an hour apart. */
const quarter = 900;

/**
 * The ticks of a ruler: the times at which a clock of that zone shows a multiple of `step` since midnight.
 *
 * @param step  seconds, in whole quarters of an hour, of which a day of 24 hours is a multiple
 */
export function ticks({ from, to }: Span, step: number, zone: Zone): Seconds[] {
  const all: Seconds[] = [];
  for (let at = Math.ceil(from / quarter) * quarter; at < to; at += quarter)
    if ((at + tzOffset(zone, new Date(at * 1000)) * 60) % step === 0) all.push(at);
  return all;
}
