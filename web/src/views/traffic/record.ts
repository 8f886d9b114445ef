import { type Entry, methodOf } from './TrafficLog';
import type { Message } from './message';

/** A message with its members in the order in which records have them, as one line. */
function line({ time, connection, client, direction, method, id, micros, bytes, text, missed }: Message): string {
  return JSON.stringify({ time, connection, client, direction, method, id, micros, bytes, text, missed });
}

/** The entries as `ostrel-tvd --record` writes them: a line of JSON for each message, in the order of time. */
export function toRecord(entries: Iterable<Entry>): string {
  const messages: Message[] = [];
  for (const { request, reply } of entries) for (const message of [request, reply]) if (message !== undefined) messages.push(message);
  messages.sort((one, other) => one.time - other.time);
  return messages.map((message) => `${line(message)}\n`).join('');
}

/** What to save of a choice, so that it can be sent again: the contexts that it needs must have been made. */
export function* forReplay(all: Iterable<Entry>, chosen: (entry: Entry) => boolean): Generator<Entry> {
  for (const entry of all) if (chosen(entry) || methodOf(entry) === 'ITVService::createContext') yield entry;
}
