import { TZDateMini } from '@date-fns/tz';

/** Since 1970-01-01 UTC, as everywhere on the wire. */
export type Seconds = number;
/** A name of the time zone database, such as `Europe/London`. */
export type Zone = string;

const formats = new Map<string, Intl.DateTimeFormat>();

function format(time: Seconds, zone: Zone, options: Intl.DateTimeFormatOptions): string {
  const key = zone + JSON.stringify(options);
  let found = formats.get(key);
  if (found === undefined) formats.set(key, (found = new Intl.DateTimeFormat('en-GB', { timeZone: zone, ...options })));
  return found.format(time * 1000);
}

/** `12:00` */
export const formatTime = (time: Seconds, zone: Zone) => format(time, zone, { hour: '2-digit', minute: '2-digit' });
/** `12:00:05` */
export const formatSeconds = (time: Seconds, zone: Zone) =>
  format(time, zone, { hour: '2-digit', minute: '2-digit', second: '2-digit' });
/** `Sun 16 Oct` */
export const formatDay = (time: Seconds, zone: Zone) =>
  format(time, zone, { weekday: 'short', day: 'numeric', month: 'short' }).replace(',', '');
/** `Sunday 16 October 2011` */
export const formatDate = (time: Seconds, zone: Zone) =>
  format(time, zone, { weekday: 'long', day: 'numeric', month: 'long', year: 'numeric' }).replace(',', '');
/** `BST`, or `GMT+9` where a zone has no letters of its own. */
export const formatZone = (time: Seconds, zone: Zone) => format(time, zone, { timeZoneName: 'short' }).split(' ').at(-1)!;

/** `45 min`, `1 h`, `9 h 30 min`; less than a minute in seconds. */
export function formatSpan(seconds: number): string {
  if (seconds < 60) return `${Math.round(seconds)} s`;
  const minutes = Math.round(seconds / 60);
  const [hours, rest] = [Math.floor(minutes / 60), minutes % 60];
  return [hours && `${hours} h`, (rest || !hours) && `${rest} min`].filter(Boolean).join(' ');
}

/** The first second of a day: of the one that a time is in, or so many days behind or before it. */
export function dayStart(time: Seconds, zone: Zone, days = 0): Seconds {
  const date = new TZDateMini(time * 1000, zone);
  return new TZDateMini(date.getFullYear(), date.getMonth(), date.getDate() + days, zone).getTime() / 1000;
}

/** The same time of day so many days later, or before: an hour that a day does not have is taken an hour later. */
export function addDays(time: Seconds, zone: Zone, days: number): Seconds {
  const date = new TZDateMini(time * 1000, zone);
  date.setDate(date.getDate() + days);
  return date.getTime() / 1000;
}

const pad = (value: number) => String(value).padStart(2, '0');

/** A time as addresses and fields of `datetime-local` hold it: `2011-10-16T12:00`, in a zone. */
export function formatLocal(time: Seconds, zone: Zone): string {
  const date = new TZDateMini(time * 1000, zone);
  const day = `${String(date.getFullYear()).padStart(4, '0')}-${pad(date.getMonth() + 1)}-${pad(date.getDate())}`;
  return `${day}T${pad(date.getHours())}:${pad(date.getMinutes())}`;
}

/** Reads what formatLocal() writes; undefined where the text is no such time. */
export function parseLocal(text: string, zone: Zone): Seconds | undefined {
  const found = /^(\d{4})-(\d\d)-(\d\d)T(\d\d):(\d\d)(?::(\d\d))?$/.exec(text);
  if (found === null) return undefined;
  const [year, month, day, hour, minute, second] = found.slice(1).map((part) => Number(part ?? 0)) as [number, number, number, number, number, number];
  if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 59) return undefined;
  return new TZDateMini(year, month - 1, day, hour, minute, second, zone).getTime() / 1000;
}
