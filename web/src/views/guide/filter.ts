import type { EventInfo, ServiceInfo } from '@ostrel/tv';
import { kindNamed, kindOf } from '../../parts/genre';
import { typeNamed } from '../../parts/services';
import type { Seconds } from '../../parts/time';

/** What a viewer looks for; what does not match is dimmed. */
export interface Filter {
  /** Of genre.ts; 0 for any. */
  readonly genre: number;
  /** In title or description, in lower case. */
  readonly text: string;
  readonly isHd: boolean;
  /** As `type` of a ServiceInfo; 0 for any. */
  readonly kind: number;
  readonly isOnNow: boolean;
}

/** Reads the filter from an address. */
export function readFilter(params: URLSearchParams): Filter {
  return {
    genre: kindNamed(params.get('genre') ?? '') ?? 0,
    text: (params.get('text') ?? '').trim().toLowerCase(),
    isHd: params.has('hd'),
    kind: typeNamed(params.get('kind') ?? '') ?? 0,
    isOnNow: params.has('on'),
  };
}

export const isFiltering = ({ genre, text, isHd, kind, isOnNow }: Filter): boolean =>
  genre !== 0 || text !== '' || isHd || kind !== 0 || isOnNow;

/** Whether a service could show something that matches. */
export const fitsService = ({ kind }: Filter, { type }: ServiceInfo): boolean => kind === 0 || kind === type;

/** Whether an event is looked for. */
export function fits(filter: Filter, service: ServiceInfo, event: EventInfo, now: Seconds): boolean {
  return (
    fitsService(filter, service) &&
    (filter.genre === 0 || event.genres.some((code) => kindOf(code) === filter.genre)) &&
    (!filter.isHd || event.highDefinition || service.highDefinition) &&
    (!filter.isOnNow || (event.startTime <= now && event.endTime > now)) &&
    (filter.text === '' || event.title.toLowerCase().includes(filter.text) || event.description.toLowerCase().includes(filter.text))
  );
}
