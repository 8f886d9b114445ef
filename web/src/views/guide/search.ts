import type { EventInfo, ServiceInfo, Tv } from '@ostrel/tv';
import type { Seconds } from '../../parts/time';
import { type Filter, fits } from './filter';

/** How far ahead is looked, and how many events at most. */
const ahead = 14 * 86_400;
const most = 1000;

/**
 * What the guide is asked for, to find a text in whatever letters: it tells small from large, so its longest word is
 * asked for in the ways in which words are written, and fits() looks at the rest.
 */
export function formsOf(text: string): string[] {
  const longest = text.toLowerCase().split(/\s+/).sort((a, b) => b.length - a.length)[0] ?? '';
  return [...new Set([longest, longest.slice(0, 1).toUpperCase() + longest.slice(1), longest.toUpperCase()])];
}

/** The next event that a text matches, behind what is selected: later, or at the same time further down. */
export async function findNext(tv: Tv, filter: Filter, rows: readonly ServiceInfo[], time: Seconds, row: number, signal: AbortSignal): Promise<EventInfo | undefined> {
  if (filter.text === '') return undefined;
  const found = await tv.guide.queryEventInfo({
    query: {
      stringList: formsOf(filter.text),
      stringMatchDescription: true,
      timeRange: { base: time, limit: time + ahead },
      orderByStartTimePriority: 0,
      sliceRange: { base: 0, limit: most },
    },
  }, { signal });
  const rowOf = new Map(rows.map(({ id }, index) => [id, index]));
  const place = ({ serviceId, startTime }: EventInfo): readonly [Seconds, number] => [startTime, rowOf.get(serviceId) ?? -1];
  return found
    .filter((event) => {
      const [start, index] = place(event);
      const service = rows[index];
      return service !== undefined && (start > time || (start === time && index > row)) && fits(filter, service, event, time);
    })
    .sort((a, b) => a.startTime - b.startTime || place(a)[1] - place(b)[1])[0];
}
