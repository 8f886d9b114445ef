import { ConnectionLost, type EventInfo, type Tv, type TvError } from '@ostrel/tv';
import { Topic } from '../../parts/Topic';
import { blockSpan, blocksOf, blocksToDrop, blocksToFetch, joinedSpans } from './blocks';
import { type Cell, rowCells, type Span } from './cells';

type Block = ReadonlyMap<number, readonly EventInfo[]>;

/** What is known of the guide: another object whenever that changes. */
export interface Known {
  readonly blocks: ReadonlyMap<number, Block>;
  /** For which parts of the time the guide was asked. */
  readonly spans: readonly Span[];
  /** Why nothing more comes; gone when it is tried again. */
  readonly error?: TvError | undefined;
}

const nothingKnown: Known = { blocks: new Map(), spans: [] };

/** The cells of a service's row, as far as they are known. */
export function cellsOf({ blocks, spans }: Known, serviceId: number, span: Span): Cell[] {
  const events: EventInfo[] = [];
  let wasKnown = false;
  for (const block of blocksOf(span)) {
    const found = blocks.get(block);
    const { from } = blockSpan(block);
    // What began before is in the block before as well.
    for (const event of found?.get(serviceId) ?? []) if (!wasKnown || event.startTime >= from) events.push(event);
    wasKnown = found !== undefined;
  }
  return rowCells(events, spans, span);
}

/** How many questions are under way at most; what comes next is decided by what is shown then. */
const atOnce = 2;

/** Asks for the part of the guide that is shown and what is beside it, all services at once, and keeps a bounded part. */
export class Loader {
  readonly known = new Topic<Known>(nothingKnown);
  readonly #tv: Tv;
  readonly #asking = new Set<number>();
  #fresh = new Set<number>(); // what has come on this connection
  #shown: Span = { from: 0, to: 0 };
  #life = new AbortController();

  constructor(tv: Tv) {
    this.#tv = tv;
  }

  /** Begins to ask, anew after each new connection. Returns what ends that. */
  readonly start = (): (() => void) => {
    this.#life = new AbortController();
    const stop = this.#tv.on('resync', () => this.retry());
    this.#askNext();
    return () => {
      stop();
      this.#life.abort();
      this.#asking.clear();
    };
  };

  /** Tells what is shown now. */
  show(span: Span): void {
    this.#shown = span;
    this.#askNext();
  }

  /** Asks for everything on show again; until it comes the old picture stays. */
  readonly retry = (): void => {
    this.#fresh = new Set();
    this.known.set({ ...this.known.get(), error: undefined });
    this.#askNext();
  };

  #askNext(): void {
    if (this.known.get().error !== undefined || this.#life.signal.aborted || this.#shown.to === 0) return;
    if (this.#tv.state === 'waiting' || this.#tv.state === 'closed') return;
    const has = (block: number) => this.#fresh.has(block) || this.#asking.has(block);
    for (const block of blocksToFetch(this.#shown, has).slice(0, atOnce - this.#asking.size)) void this.#ask(block);
  }

  async #ask(block: number): Promise<void> {
    const { signal } = this.#life;
    this.#asking.add(block);
    try {
      const events = await this.#tv.guide.window(blockSpan(block), { signal });
      if (!signal.aborted) this.#keep(block, events);
    } catch (error) {
      // A lost connection is told in another way, and mends itself.
      if (!signal.aborted && !(error instanceof ConnectionLost) && this.#tv.state === 'open')
        this.known.set({ ...this.known.get(), error: error as TvError });
    }
    if (signal.aborted) return;
    this.#asking.delete(block);
    if (this.#tv.state === 'open') this.#askNext();
  }

  #keep(block: number, events: readonly EventInfo[]): void {
    const services = new Map<number, EventInfo[]>();
    for (const event of events) {
      const found = services.get(event.serviceId);
      if (found === undefined) services.set(event.serviceId, [event]);
      else found.push(event);
    }
    const blocks = new Map(this.known.get().blocks).set(block, services);
    for (const far of blocksToDrop(this.#shown, blocks.keys())) {
      blocks.delete(far);
      this.#fresh.delete(far);
    }
    if (blocks.has(block)) this.#fresh.add(block);
    this.known.set({ ...this.known.get(), blocks, spans: joinedSpans([...blocks.keys()]) });
  }
}
