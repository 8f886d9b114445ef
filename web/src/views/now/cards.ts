import type { EventInfo, ServiceInfo } from '@ostrel/tv';
import { kindNamed, kindOf } from '../../parts/genre';
import { typeNamed } from '../../parts/services';
import type { Seconds } from '../../parts/time';

/** A service that is on the air, and with what. */
export interface Card {
  service: ServiceInfo;
  event: EventInfo;
}

/** What is shown; undefined stands for all. */
export interface Wanted {
  type: number | undefined;
  genre: number | undefined;
}

/** Reads what the address holds; what means nothing there is all. */
export function readWanted(kind: string, genre: string): Wanted {
  return { type: typeNamed(kind), genre: kindNamed(genre) };
}

export const genreOf = ({ genres }: EventInfo): number => kindOf(genres[0]);

/** The services that are on the air, by their number. */
export function cardsOf(services: readonly ServiceInfo[], on: ReadonlyMap<number, EventInfo>): Card[] {
  return services
    .flatMap((service) => {
      const event = on.get(service.id);
      return event === undefined ? [] : [{ service, event }];
    })
    .sort((a, b) => a.service.channelNumber - b.service.channelNumber);
}

export const isWanted = ({ service, event }: Card, { type, genre }: Wanted): boolean =>
  (type === undefined || service.type === type) && (genre === undefined || genreOf(event) === genre);

/** How many cards there are of each genre, by its number. */
export function countGenres(cards: readonly Card[]): ReadonlyMap<number, number> {
  const counts = new Map<number, number>();
  for (const { event } of cards) counts.set(genreOf(event), (counts.get(genreOf(event)) ?? 0) + 1);
  return counts;
}

/** How much of an event is over, from 0 to 1. */
export const partOver = ({ startTime, endTime }: EventInfo, now: Seconds): number =>
  Math.min(1, Math.max(0, (now - startTime) / Math.max(1, endTime - startTime)));

/** How long an event still goes on, in whole minutes begun: all that end together say the same. */
export const minutesLeft = ({ endTime }: EventInfo, now: Seconds): number => Math.max(0, Math.ceil((endTime - now) / 60));

/** How often a bar of some two hundred pixels moves, in seconds: a part of a minute, so that minutes are told in time. */
export const pace = ({ startTime, endTime }: EventInfo): number =>
  [60, 30, 20, 15, 10, 5, 2].find((step) => step <= (endTime - startTime) / 200) ?? 1;

/** As many columns as fit. */
export const columnsIn = (width: number, least: number, gap: number): number =>
  Math.max(1, Math.floor((width + gap) / (least + gap)));
