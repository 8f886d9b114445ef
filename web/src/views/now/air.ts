import type { EventInfo, Query, TimeRange } from '@ostrel/tv';
import type { Seconds } from '../../parts/time';

/** A place in the guide, whose events are read in the order of their start. */
export interface Bookmark {
  /** The start of those that come next, or before. */
  readonly start: Seconds;
  /** How many that start then have been read. */
  readonly read: number;
}

/** What is on the air, and what will be, as far as the guide has been read. */
export interface Air {
  /** It is true from then on, */
  readonly from: Seconds;
  /** until something ends or begins; moveOn() leads behind it. */
  readonly changes: Seconds;
  /** What is on, by the service's number in the guide. */
  readonly on: ReadonlyMap<number, EventInfo>;
  /** What starts later, in the order of its start. */
  readonly coming: readonly EventInfo[];
  /** Where the guide is read on. */
  readonly next: Bookmark;
  /** Nothing is missing of what starts before then. */
  readonly until: Seconds;
}

/** How many events are read at once: an hour of a hundred services. */
export const pageSize = 250;

/** Asks what is on at a moment: the first of two questions. */
export const onAt = (at: Seconds): { query: { timeRange: TimeRange } } => ({ query: { timeRange: { base: at, limit: at + 1 } } });

/** Asks for the events behind a bookmark. The slice counts from the first that starts at its second. */
export const eventsBehind = ({ start, read }: Bookmark): { query: Query } => ({
  query: { timeRange: { strict: true, base: start }, sliceRange: { base: read, limit: read + pageSize } },
});

const changeOf = (on: ReadonlyMap<number, EventInfo>, coming: readonly EventInfo[]): Seconds => {
  let first = coming[0]?.startTime ?? Infinity;
  for (const { endTime } of on.values()) first = Math.min(first, endTime);
  return first;
};

/** @param on  what onAt() found; of two events of a service the one that started later counts */
export function startAir(at: Seconds, on: readonly EventInfo[]): Air {
  const byService = new Map(on.map((event) => [event.serviceId, event]));
  return { from: at, changes: changeOf(byService, []), on: byService, coming: [], next: { start: at + 1, read: 0 }, until: at + 1 };
}

/** @param page  what eventsBehind() found; where it is not full, the guide is read to its end */
export function readOn(air: Air, page: readonly EventInfo[]): Air {
  const coming = [...air.coming, ...page];
  const { on, next } = air;
  const changes = changeOf(on, coming);
  const last = page.at(-1)?.startTime;
  if (last === undefined || page.length < pageSize) return { ...air, coming, changes, until: Infinity };
  const read = page.filter(({ startTime }) => startTime === last).length + (last === next.start ? next.read : 0);
  return { ...air, coming, changes, next: { start: last, read }, until: last };
}

/** Lets time pass. Gives the same object when nothing ends or begins. */
export function moveOn(air: Air, now: Seconds): Air {
  if (now < air.changes) return air;
  const on = new Map([...air.on].filter(([, { endTime }]) => endTime > now));
  const later = air.coming.findIndex(({ startTime }) => startTime > now);
  const begun = later < 0 ? air.coming : air.coming.slice(0, later);
  for (const event of begun) if (event.endTime > now) on.set(event.serviceId, event);
  const coming = air.coming.slice(begun.length);
  return { ...air, from: now, changes: changeOf(on, coming), on, coming };
}

/** Whether a time can be reached by moveOn(). A clock that was measured better may go back by a second. */
export const reaches = (air: Air, now: Seconds): boolean => now >= air.from - 1 && now < air.until;

/** Whether it is time to read on: ten minutes ahead, or ten seconds of the viewer's where the clock runs fast. */
export const isShort = (air: Air, now: Seconds, speed: number): boolean => air.until - now < Math.max(600, 10 * speed);
