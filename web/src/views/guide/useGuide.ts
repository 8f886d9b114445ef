import type { ServiceInfo } from '@ostrel/tv';
import { useClock, useTv } from '@ostrel/tv/react';
import { type RefObject, useEffect, useLayoutEffect, useMemo, useRef, useState } from 'react';
import { useZone } from '../../app/settings';
import { useShow } from '../../app/show';
import { useWorld } from '../../app/simulator';
import { addDays, dayStart, type Seconds } from '../../parts/time';
import { useTopic } from '../../parts/Topic';
import type { Span } from './cells';
import { daysAround } from './days';
import { type Filter, fits, fitsService } from './filter';
import { moveFocus, reveal } from './focus';
import { geometryOf, leadIn } from './geometry';
import { cellsOf, Loader } from './known';
import { useSize } from '../../parts/useSize';
import { rowOf } from './labels';
import { useTarget } from './useTarget';
import { useTimeline } from './useTimeline';

/** Kept free beside what is selected, in seconds. */
const margin = 900;

const sideways = ['ArrowLeft', 'ArrowRight'];

/** Asks again what is shown where the guide is another one. */
function useGuideTurns(loader: Loader): void {
  const turnsAt = useWorld()?.turnsAt;
  const before = useRef(turnsAt);
  useEffect(() => {
    if (turnsAt === undefined || turnsAt === before.current) return;
    if (before.current !== undefined) loader.retry();
    before.current = turnsAt;
  }, [loader, turnsAt]);
}

/** What the grid shows, what is selected in it, and what moves that. */
export function useGuide(scroller: RefObject<HTMLDivElement | null>, services: readonly ServiceInfo[], filter: Filter, isOnlyMatches: boolean) {
  const tv = useTv();
  const zone = useZone();
  const { now } = useClock(10);
  const size = useSize(scroller);
  const geometry = geometryOf(size.width, useShow());
  const target = useTarget(zone);
  const time = target.time === 'now' ? now : target.time;

  const before = useRef<Span>(undefined);
  const around = useMemo(() => daysAround(now, time, zone, before.current), [now, time, zone]);
  const days = useMemo(() => around, [around.from, around.to]);
  before.current = days;
  const scale = useMemo(() => ({ origin: days.from, pixelsPerHour: geometry.pixelsPerHour }), [days, geometry]);

  const [loader] = useState(() => new Loader(tv));
  useEffect(() => loader.start(), [loader]);
  useGuideTurns(loader);
  const known = useTopic(loader.known);

  const onRest = (shown: Span) => {
    const isFollowing = target.time === 'now' && now >= shown.from && now < shown.to;
    if (target.time === 'now' && !isFollowing) target.select({ ...target, time: now });
    const isInSight = time >= shown.from && time < shown.to;
    target.write(isFollowing ? 'now' : isInSight ? time : shown.from + margin, target.channel);
  };
  const timeline = useTimeline(scroller, size.width, scale, days, geometry, leadIn(time), onRest);
  const { drawn, shown, goTo } = timeline;
  useEffect(() => loader.show(shown()), [loader, drawn, shown]);

  const rows = useMemo(
    () => !isOnlyMatches ? services : services.filter((service) =>
      fitsService(filter, service) && cellsOf(known, service.id, drawn).some(({ event }) => event && fits(filter, service, event, now))),
    [services, isOnlyMatches, filter, known, drawn, isOnlyMatches && now],
  );
  const row = rowOf(rows, target);

  // Where the address leads, and where the time goes by itself, the view follows.
  useLayoutEffect(() => goTo(leadIn(time)), [target.visit]);
  useLayoutEffect(() => {
    if (target.isTold) goTo(leadIn(time)); // the address means the zone's time
  }, [zone]);
  useLayoutEffect(() => {
    const { from, to } = shown();
    if (target.time === 'now' && (now < from || now > to - 0.15 * (to - from))) goTo(leadIn(now));
  }, [now, target.time]);
  useLayoutEffect(() => {
    const from = reveal(shown(), { from: time, to: time }, time, margin);
    if (from !== shown().from) goTo(from);
  }, [geometry]);

  const showRow = (index: number) => {
    const element = scroller.current;
    if (element === null) return;
    const top = index * geometry.row;
    const last = top + geometry.row - (element.clientHeight - geometry.ruler);
    element.scrollTop = Math.min(top, Math.max(last, element.scrollTop));
  };
  useLayoutEffect(() => showRow(row), [target.visit, size.height > 0]);

  const cellAt = (index: number, at: Seconds) => cellsOf(known, rows[index]?.id ?? 0, days).find(({ from, to }) => from <= at && to > at)!;

  /** Selects a place, and brings it in sight. */
  const select = (index: number, at: Seconds | 'now', wanted: Span) => {
    target.select({ channel: rows[index]?.channelNumber, serviceId: rows[index]?.id, time: at });
    target.write(at, rows[index]?.channelNumber);
    showRow(index);
    const from = reveal(shown(), wanted, at === 'now' ? now : at, margin);
    if (from !== shown().from) goTo(from);
  };

  /** Moves what is selected. Returns whether there was somewhere to go. */
  const move = (key: string): boolean => {
    const { from, to } = shown();
    const page = Math.max(1, Math.floor((size.height - geometry.ruler) / geometry.row) - 1);
    const grid = { ...days, rows: rows.length, cellAt, now, zone, page, reach: Math.max(1800, to - from - 2 * margin) };
    const next = moveFocus(grid, { row, time }, key);
    if (next === undefined) return false;
    if (key === 'Home') {
      select(next.row, 'now', { from: now, to: now });
      goTo(leadIn(now));
      return true;
    }
    const isFollowing = target.time === 'now' && next.time === time;
    if (key === '[' || key === ']') goTo(from + next.time - time);
    select(next.row, isFollowing ? 'now' : next.time, sideways.includes(key) ? cellAt(next.row, next.time) : { from: next.time, to: next.time });
    return next.row !== row || next.time !== time;
  };

  /** Shows another day, at the same time of it. */
  const goToDay = (day: Seconds) => {
    const { from, to } = shown();
    const base = time >= from && time < to ? time : Math.round((from + to) / 2);
    const at = addDays(base, zone, Math.round((day - dayStart(base, zone)) / 86_400));
    goTo(from + at - base);
    select(row, at, { from: at, to: at });
  };

  return { ...timeline, zone, now, size, geometry, scale, days, loader, known, rows, row, time, isFollowing: target.time === 'now', select, move, goToDay };
}

export type GuideState = ReturnType<typeof useGuide>;
