import { tzOffset } from '@date-fns/tz';

/** Since 1970-01-01 UTC, as everywhere on the wire. */
export type Seconds = number;
/** A name of the time zone database, such as `Europe/London`. */
export type Zone = string;

/** The zone, where the browser knows it: it may call its own `Etc/Unknown`, and take that from nobody. */
export function knownZone(zone: Zone | undefined): Zone | undefined {
  try {
    new Intl.DateTimeFormat('en-GB', { timeZone: zone });
    return zone;
  } catch {
    return undefined;
  }
}

const formats = new Map<string, Intl.DateTimeFormat>();

/** Whether dates go so far: 275,000 years. */
const isDate = (time: Seconds): boolean => Math.abs(time) <= 8.64e12;

/** No time at all, where a service tells one that no clock shows. */
const none = '–';

function format(time: Seconds, zone: Zone, options: Intl.DateTimeFormatOptions): string {
  if (!isDate(time)) return none;
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
  if (Math.round(seconds) < 60) return `${Math.round(seconds)} s`;
  const minutes = Math.round(seconds / 60);
  const [hours, rest] = [Math.floor(minutes / 60), minutes % 60];
  return [hours && `${hours} h`, (rest || !hours) && `${rest} min`].filter(Boolean).join(' ');
}

const day = 86_400;

const offsetAt = (time: Seconds, zone: Zone): number => tzOffset(zone, new Date(time * 1000)) * 60;

/** What a clock of the zone shows, as if that were UTC. */
const toClock = (time: Seconds, zone: Zone): number => time + offsetAt(time, zone);

// By hand, since TZDate goes wrong on a day on which the browser's own zone changes its clock.

/** When a clock of the zone shows something: the first time, where it does so twice; what it leaves out is an hour later. */
function fromClock(shown: number, zone: Zone): Seconds {
  const before = offsetAt(shown - day, zone);
  const found = [before, offsetAt(shown + day, zone)].find((offset) => offsetAt(shown - offset, zone) === offset);
  return shown - (found ?? before);
}

/** The first second of a day: of the one that a time is in, or so many days behind or before it. */
export const dayStart = (time: Seconds, zone: Zone, days = 0): Seconds =>
  fromClock((Math.floor(toClock(time, zone) / day) + days) * day, zone);

/** The same time of day so many days later, or before: an hour that a day does not have is taken an hour later. */
export const addDays = (time: Seconds, zone: Zone, days: number): Seconds => fromClock(toClock(time, zone) + days * day, zone);

/** A time as addresses and fields of `datetime-local` hold it: `2011-10-16T12:00`, in a zone; empty where no date goes so far. */
export function formatLocal(time: Seconds, zone: Zone): string {
  const shown = toClock(time, zone);
  return isDate(shown) ? new Date(shown * 1000).toISOString().slice(0, 16) : '';
}

/** Reads what formatLocal() writes; undefined where the text is no such time. */
export function parseLocal(text: string, zone: Zone): Seconds | undefined {
  const found = /^(\d{4})-(\d\d)-(\d\d)T(\d\d):(\d\d)(?::(\d\d))?$/.exec(text);
  if (found === null) return undefined;
  const [year, month, date, hour, minute, second] = found.slice(1).map((part) => Number(part ?? 0)) as [number, number, number, number, number, number];
  const shown = Date.UTC(year, month - 1, date, hour, minute, second);
  const isTime = second < 60 && new Date(shown).toISOString().startsWith(text.slice(0, 16));
  return isTime ? fromClock(shown / 1000, zone) : undefined;
}
