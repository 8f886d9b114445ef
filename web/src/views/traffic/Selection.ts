import { type Entry, messageOf, methodOf, type TrafficLog } from './TrafficLog';
import { isTrouble, type Message } from './message';

/** What somebody wants to see; what is empty does not matter. */
export interface Filter {
  /** A text in what was said. */
  text: string;
  /** Part of a method's name, or a pattern of all of it in which `*` is any run of characters. */
  method: string;
  /** Part of a client's name. */
  client: string;
  errorsOnly: boolean;
}

const escaped = (text: string) => text.replace(/[.*+?^${}()|[\]\\]/g, '\\$&');

/** Upper and lower case are the same. */
function pattern(text: string): RegExp {
  return text.includes('*') ? new RegExp(`^${text.split('*').map(escaped).join('.*')}$`, 'is') : new RegExp(escaped(text), 'i');
}

/** @param nameOf  what a message's client is called */
export function matcher(filter: Filter, nameOf: (message: Message) => string): (entry: Entry) => boolean {
  const text = filter.text ? new RegExp(escaped(filter.text), 'i') : undefined;
  const method = filter.method ? pattern(filter.method) : undefined;
  const client = filter.client.toLowerCase();
  const isPlain = text === undefined && method === undefined && client === '' && !filter.errorsOnly;
  return (entry) => {
    if (isPlain) return true;
    const message = messageOf(entry);
    if (message === undefined) return false;
    if (filter.errorsOnly && (entry.kind !== 'call' || !isTrouble(entry.outcome))) return false;
    if (method !== undefined && !method.test(methodOf(entry))) return false;
    if (client !== '' && !nameOf(message).toLowerCase().includes(client)) return false;
    return text === undefined || text.test(entry.request?.text ?? '') || text.test(entry.reply?.text ?? '');
  };
}

/** The entries of a log that match, kept up with it when that is asked for. */
export class Selection {
  /** In the order of their coming. */
  readonly entries: Entry[] = [];
  #next: number; // the first that has not been looked at
  #ahead = 0; // where countNew() goes on
  #fresh = 0;

  constructor(
    private readonly log: TrafficLog,
    private readonly matches: (entry: Entry) => boolean,
  ) {
    this.#next = log.first;
    this.update();
  }

  /** Takes in what is new, and leaves out what the log does not have any more. Returns whether that changed anything. */
  update(): boolean {
    const { log, entries, matches } = this;
    let isOther = false;
    const changed = log.takeChanged();
    const gone = place(entries, log.first);
    if (gone > 0) entries.splice(0, gone), (isOther = true);
    for (const entry of changed) if (entry.number < this.#next) isOther = this.#recheck(entry) || isOther;
    for (this.#next = Math.max(this.#next, log.first); this.#next < log.end; ++this.#next) {
      const entry = log.at(this.#next)!;
      if (matches(entry)) entries.push(entry), (isOther = true);
    }
    this.#ahead = this.#next;
    this.#fresh = 0;
    return isOther;
  }

  /** How many of those that match have come since update(). */
  countNew(): number {
    for (this.#ahead = Math.max(this.#ahead, this.log.first); this.#ahead < this.log.end; ++this.#ahead)
      if (this.matches(this.log.at(this.#ahead)!)) ++this.#fresh;
    return this.#fresh;
  }

  /** The place of an entry, or -1. */
  indexOf(number: number): number {
    const found = place(this.entries, number);
    return this.entries[found]?.number === number ? found : -1;
  }

  #recheck(entry: Entry): boolean {
    const at = place(this.entries, entry.number);
    const isThere = this.entries[at] === entry;
    const belongs = this.matches(entry);
    if (isThere && !belongs) this.entries.splice(at, 1);
    if (!isThere && belongs) this.entries.splice(at, 0, entry);
    return isThere || belongs;
  }
}

/** The place of the first entry that has this number or a greater one. */
function place(entries: readonly Entry[], number: number): number {
  let low = 0;
  let high = entries.length;
  while (low < high) {
    const middle = (low + high) >>> 1;
    if (entries[middle]!.number < number) low = middle + 1;
    else high = middle;
  }
  return low;
}
