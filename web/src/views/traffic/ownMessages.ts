import type { OwnMessage } from '../../app/ownTraffic';
import type { Message } from './message';

interface Asked {
  at: number;
  method: string;
}

interface Told {
  id?: Message['id'];
  method?: string;
}

const isTold = (value: unknown): value is Told => typeof value === 'object' && value !== null;

const encoder = new TextEncoder();

/**
 * Makes what the page has seen of its own connection into messages as the simulator tells them. How long a reply took
 * is what the page has waited for it.
 */
export class OwnMessages {
  readonly #asked = new Map<unknown, Asked>();

  /** The messages of a text: a batch has several. */
  read({ at, direction, text }: OwnMessage): Message[] {
    let parsed: unknown;
    try {
      parsed = JSON.parse(text);
    } catch {
      return [];
    }
    if (!Array.isArray(parsed)) return isTold(parsed) ? [this.#message(parsed, at, direction, text)] : [];
    return parsed.filter(isTold).map((each) => this.#message(each, at, direction, JSON.stringify(each)));
  }

  #message({ id, method }: Told, at: number, direction: OwnMessage['direction'], text: string): Message {
    const common = { time: at / 1000, bytes: encoder.encode(text).length, text, micros: 0 };
    if (direction === 'received' && method !== undefined) return { ...common, connection: 0, client: '', direction: 'notification', method };
    const ours = { ...common, connection: 1, client: '', ...(id !== undefined && { id }) };
    if (direction === 'sent') {
      this.#asked.set(id, { at, method: method ?? '' });
      return { ...ours, direction: 'request', method: method ?? '' };
    }
    const asked = this.#asked.get(id);
    this.#asked.delete(id);
    return { ...ours, direction: 'reply', method: asked?.method ?? '', micros: asked === undefined ? 0 : Math.round((at - asked.at) * 1000) };
  }

  /** What was not answered will not be: the connection is another one. */
  forget(): void {
    this.#asked.clear();
  }
}
