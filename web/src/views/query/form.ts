import type { Query, TimeRange } from '@ostrel/tv';

/** The orders that two priorities make. */
export const orders = {
  start: {},
  service: { orderByServiceIdPriority: 0 },
  'service, start': { orderByServiceIdPriority: 0, orderByStartTimePriority: 1 },
  'start, service': { orderByServiceIdPriority: 1, orderByStartTimePriority: 0 },
} as const satisfies Record<string, Query>;
export type Order = keyof typeof orders;

/** By which keys a query sorts: priorities that are negative or equal sort nothing, docs/oddities.md. */
export function orderOf({ orderByServiceIdPriority: service = -1, orderByStartTimePriority: start = -1 }: Query): Order {
  if (service === start || service < 0) return 'start';
  if (start < 0) return 'service';
  return service < start ? 'service, start' : 'start, service';
}

export function withOrder(query: Query, order: Order): Query {
  const { orderByServiceIdPriority: _service, orderByStartTimePriority: _start, ...rest } = query;
  return { ...rest, ...orders[order] };
}

/** A query, or a part of it, without the members that say nothing. */
export function tidy<Part extends Query | TimeRange>(part: Part): Part {
  const says = (value: unknown) => value !== undefined && value !== false && !(Array.isArray(value) && value.length === 0);
  return Object.fromEntries(Object.entries(part).filter(([, value]) => says(value))) as Part;
}

/** As many services as the expression holds that the service makes of a query. */
export const mostServices = (query: Query): number => (query.timeRange === undefined ? 17 : 13);
