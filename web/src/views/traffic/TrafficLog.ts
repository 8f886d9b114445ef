import { isTrouble, type Message, type Outcome, outcomeOf } from './message';
import { Minute } from './Minute';

/** A line of the list: a call with its reply, a notification, or where something was not seen. */
export interface Entry {
  /** One more than that of the entry before it. */
  readonly number: number;
  readonly kind: 'call' | 'notification' | 'gap';
  /** Of a call: missing where it had passed before anybody looked. */
  request?: Message;
  /** Of a call; or the notification. */
  reply?: Message;
  outcome: Outcome;
  /** Of a gap: what to say of it. */
  text?: string;
  /** Grows with every change. */
  version: number;
}

/** What an entry is known by: the one of its messages that came first. */
export const messageOf = (entry: Entry): Message | undefined => entry.request ?? entry.reply;
export const methodOf = (entry: Entry): string => messageOf(entry)?.method ?? '';

/** What it takes to keep a message beside its text, about. */
const overhead = 400;
const costOf = (entry: Entry): number =>
  overhead + (entry.request?.text.length ?? 0) + (entry.reply === undefined ? 0 : overhead + entry.reply.text.length);

const key = ({ time, connection, direction, id, method }: Message) => `${time} ${connection} ${direction} ${JSON.stringify(id)} ${method}`;

/**
 * The latest that has passed, up to so many bytes: requests with their replies, in the order of their coming.
 *
 * The service answers the requests of a connection in their order. So a reply belongs to the oldest request of its id
 * on its connection, and those before that will not be answered any more.
 */
export class TrafficLog {
  /** Seconds after which a call counts as one without a reply, until that comes after all. */
  static readonly patience = 10;

  readonly minute = new Minute();
  #entries: (Entry | undefined)[] = []; // what is before #head has gone
  #first = 0; // the number of #entries[#head]
  #head = 0;
  #cost = 0;
  #cleared = 0; // what passed up to this time is not wanted any more
  readonly #waiting = new Map<number, Entry[]>(); // by connection, oldest first
  readonly #changed = new Set<Entry>();
  readonly #listeners = new Set<() => void>();
  /** How many messages have been taken in. */
  messages = 0;

  /** @param bound  bytes, with what keeping them costs */
  constructor(private readonly bound = 16 << 20) {}

  /** The number of the oldest entry that is kept. */
  get first(): number {
    return this.#first;
  }
  /** The number that the next entry will have. */
  get end(): number {
    return this.#first + this.#entries.length - this.#head;
  }
  get cost(): number {
    return this.#cost;
  }

  at(number: number): Entry | undefined {
    return this.#entries[number - this.#first + this.#head];
  }

  *[Symbol.iterator](): Iterator<Entry> {
    for (let number = this.#first; number < this.end; ++number) yield this.at(number)!;
  }

  /** Is told of every change, at once. Returns what ends the listening. */
  listen(listener: () => void): () => void {
    this.#listeners.add(listener);
    return () => this.#listeners.delete(listener);
  }

  add(message: Message): void {
    ++this.messages;
    if (message.missed) this.#push({ kind: 'gap', outcome: { kind: 'ok' }, text: `${message.missed} messages were not seen: they came too fast` });
    if (message.direction === 'request') this.#ask(message);
    else if (message.direction === 'reply') this.#answer(message);
    else {
      this.#push({ kind: 'notification', reply: message, outcome: { kind: 'ok' } });
      this.minute.add(message.time);
    }
    this.#tell();
  }

  /**
   * Takes in what passed while nobody looked, and perhaps before. What is there already is left out; where nothing of it
   * is, something has been missed, or it is another host: then nobody waits for a reply any more.
   */
  catchUp(messages: readonly Message[]): void {
    const known = new Set<string>();
    for (const { request, reply } of this) for (const message of [request, reply]) if (message !== undefined) known.add(key(message));
    const wasEmpty = known.size === 0;
    const joins = messages.some((message) => known.has(key(message)));
    const fresh = messages.filter((message) => message.time > this.#cleared && known.size < known.add(key(message)).size);
    if (!wasEmpty && !joins && fresh.length > 0) this.#breakOff();
    for (const message of fresh) this.add(message);
  }

  #breakOff(): void {
    for (const entry of [...this.#waiting.values()].flat()) this.#change(entry, { kind: 'no reply' });
    this.#waiting.clear();
    this.#push({ kind: 'gap', outcome: { kind: 'ok' }, text: 'What passed in between was not seen' });
  }

  /** Gives up those that wait too long. @param now  seconds, as messages have them */
  sweep(now: number): void {
    for (const entries of this.#waiting.values())
      for (const entry of entries)
        if (entry.outcome.kind === 'waiting' && entry.request!.time < now - TrafficLog.patience) this.#change(entry, { kind: 'no reply' });
  }

  /** Forgets all; catchUp() does not bring it back. */
  clear(): void {
    for (const { request, reply } of this) this.#cleared = Math.max(this.#cleared, request?.time ?? 0, reply?.time ?? 0);
    while (this.#head < this.#entries.length) this.#evict();
    this.#waiting.clear();
    this.#tell();
  }

  /** Those of before that have changed since this was asked last. */
  takeChanged(): Entry[] {
    const changed = [...this.#changed];
    this.#changed.clear();
    return changed;
  }

  #ask(request: Message): void {
    const isWaiting = request.id !== undefined;
    const entry = this.#push({ kind: 'call', request, outcome: { kind: isWaiting ? 'waiting' : 'not asked' } });
    this.minute.add(request.time);
    if (!isWaiting) return;
    const waiting = this.#waiting.get(request.connection);
    if (waiting === undefined) this.#waiting.set(request.connection, [entry]);
    else waiting.push(entry);
  }

  #answer(reply: Message): void {
    const outcome = outcomeOf(reply.text);
    this.minute.add(reply.time, reply.micros, isTrouble(outcome));
    const waiting = this.#waiting.get(reply.connection) ?? [];
    const place = waiting.findIndex(({ request }) => request!.id === reply.id);
    if (place < 0) return void this.#push({ kind: 'call', reply, outcome });
    const [entry, ...passedOver] = waiting.splice(0, place + 1).reverse();
    if (waiting.length === 0) this.#waiting.delete(reply.connection);
    for (const other of passedOver) this.#change(other, { kind: 'no reply' });
    entry!.reply = reply;
    this.#cost += overhead + reply.text.length;
    this.#change(entry!, outcome);
    this.#trim();
  }

  #change(entry: Entry, outcome: Outcome): void {
    entry.outcome = outcome;
    ++entry.version;
    this.#changed.add(entry);
    this.#tell();
  }

  #push(entry: Omit<Entry, 'number' | 'version'>): Entry {
    const numbered = { ...entry, number: this.end, version: 0 };
    this.#entries.push(numbered);
    this.#cost += costOf(numbered);
    this.#trim();
    return numbered;
  }

  /** The newest stays, however large it is. */
  #trim(): void {
    while (this.#cost > this.bound && this.#entries.length - this.#head > 1) this.#evict();
    if (this.#head < 1024) return;
    this.#entries.splice(0, this.#head);
    this.#head = 0;
  }

  #evict(): void {
    const entry = this.#entries[this.#head]!;
    this.#entries[this.#head++] = undefined;
    ++this.#first;
    this.#cost -= costOf(entry);
    this.#changed.delete(entry);
    const connection = entry.request?.connection;
    const waiting = connection === undefined ? undefined : this.#waiting.get(connection);
    if (waiting?.[0] !== entry) return;
    waiting.shift();
    if (waiting.length === 0) this.#waiting.delete(connection!);
  }

  #tell(): void {
    for (const listener of this.#listeners) listener();
  }
}
