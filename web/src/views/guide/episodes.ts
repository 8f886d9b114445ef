import type { EventInfo, Programme, Tv } from '@ostrel/tv';

/** The type of an identifier that all of a series share. */
const ofSeries = 2;

/** By what the guide links the programmes of a series; undefined where it belongs to none. */
export function seriesOf({ CridData, CridType }: Programme): string | undefined {
  return CridData.find((_, i) => CridType[i] === ofSeries);
}

/** As many numbers as an expression holds beside a service. */
const mostStarts = 12;

/** Expressions that find events by service and start, with as few questions as they allow. */
export function expressionsOf(events: readonly Pick<EventInfo, 'serviceId' | 'startTime'>[]): string[] {
  const starts = new Map<number, number[]>();
  for (const { serviceId, startTime } of events) starts.set(serviceId, [...(starts.get(serviceId) ?? []), startTime]);
  return [...starts].flatMap(([service, all]) =>
    Array.from({ length: Math.ceil(all.length / mostStarts) }, (_, i) => {
      const some = all.slice(i * mostStarts, (i + 1) * mostStarts);
      return `ServiceId == ${service} && Start in (${some.join(', ')})`;
    }),
  );
}

/** The most events of one title that are looked through. */
const most = 500;

/** All programmes of a series, itself included, by their start: those of the same title whose documents say so. */
export async function episodesOf(tv: Tv, programme: Programme, signal: AbortSignal): Promise<Programme[]> {
  const series = seriesOf(programme);
  if (series === undefined) return [];
  const query = { stringList: [programme.Title], orderByStartTimePriority: 0, sliceRange: { base: 0, limit: most } };
  const named = await tv.guide.queryEventInfo({ query }, { signal });
  const expressions = expressionsOf(named.filter(({ title }) => title === programme.Title));
  const found = await Promise.all(expressions.map((expression) => tv.guide.query(expression, { signal })));
  return found.flat().filter((other) => seriesOf(other) === series).sort((a, b) => a.Start - b.Start || a.ServiceId - b.ServiceId);
}
