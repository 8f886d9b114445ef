import type { EventInfo, ServiceInfo } from '@ostrel/tv';
import { formatTime, type Seconds, type Zone } from '../../parts/time';
import type { Cell } from './cells';

const span = ({ from, to }: { from: Seconds; to: Seconds }, zone: Zone, between: string): string =>
  `${formatTime(from, zone)}${between}${formatTime(to, zone)}`;

/** `12:00–13:00` */
export const formatFromTo = (event: EventInfo, zone: Zone): string =>
  span({ from: event.startTime, to: event.endTime }, zone, '–');

/** How a cell is announced: `BBC ONE, 12:00 to 13:00, Gate and Stile, on now`. */
export function cellLabel(service: ServiceInfo, cell: Cell, zone: Zone, isOnAir: boolean): string {
  if (cell.kind === 'unknown') return `${service.name}, not loaded yet`;
  if (cell.event === undefined) return `${service.name}, no guide data`;
  const { startTime: from, endTime: to, title } = cell.event;
  return [service.name, span({ from, to }, zone, ' to '), title || 'Untitled', isOnAir && 'on now'].filter(Boolean).join(', ');
}

/** The service that a number typed on a remote control means, or none. */
export const serviceByNumber = <T extends ServiceInfo>(services: readonly T[], number: number): T | undefined =>
  services.find(({ channelNumber }) => channelNumber === number);

/** The row of what is selected: of the service itself where it is known, or the first of the channel's number, or the first. */
export function rowOf(services: readonly ServiceInfo[], { serviceId, channel }: { serviceId?: number | undefined; channel: number | undefined }): number {
  const own = serviceId === undefined ? -1 : services.findIndex(({ id }) => id === serviceId);
  return own >= 0 ? own : Math.max(0, services.findIndex(({ channelNumber }) => channelNumber === channel));
}

/** The expression that finds one event. */
export const expressionOf = ({ serviceId, startTime }: EventInfo): string => `ServiceId == ${serviceId} && Start == ${startTime}`;
