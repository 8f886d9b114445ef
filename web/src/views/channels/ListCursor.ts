import { ServiceError, type Tv, TvError } from '@ostrel/tv';
import { Topic } from '../../parts/Topic';
import { type Base, callOf, moved, type Operation, type Outcome } from './cursor';

/** A context of the view's own, and what was done with its cursor. */
export interface CursorState {
  /** The list that is selected; undefined before one is. */
  base: Base | undefined;
  /** How many services are before the cursor. */
  position: number;
  /** What was done, the latest first. */
  log: readonly Outcome[];
  /** Why there is no context. */
  failure: TvError | undefined;
}

const unselected = { base: undefined, position: 0, failure: undefined };
const longestLog = 50;

/**
 * A cursor that is nobody else's: in a context that is made when a view wants one, and anew on each connection. It
 * stays where it is while other views are on show. It is not deleted: that would end a scan, and the service lets go
 * of it by itself.
 */
export class ListCursor {
  readonly state = new Topic<CursorState>({ ...unselected, log: [] });
  readonly #tv: Tv;
  #context: number | undefined;
  #wanted: Base | undefined;
  #last: Promise<unknown> = Promise.resolve();
  #count = 0;

  constructor(tv: Tv) {
    this.#tv = tv;
    tv.on('resync', () => {
      this.#context = undefined;
      this.#show(unselected);
      if (this.#wanted !== undefined) void this.#select(this.#wanted);
    });
  }

  /** Selects a list, unless it is; undefined while the cursor is not on show. */
  want(base: Base | undefined): void {
    this.#wanted = base;
    if (base === undefined || this.#tv.state !== 'open') return; // else resync selects it
    void this.#select(base);
  }

  /** Does something with the cursor, behind what is being done. What is answered, or refused, is in the log. */
  do(operation: Operation): Promise<Outcome> {
    return this.#behind(() => this.#carryOut(operation));
  }

  #select(base: Base): Promise<unknown> {
    return this.#behind(async () => {
      if (this.#wanted !== base || (this.#context !== undefined && this.state.get().base === base)) return;
      await this.#carryOut({ name: 'serviceListSet', payload: { base } });
    });
  }

  #behind<T>(action: () => Promise<T>): Promise<T> {
    const done = this.#last.then(action);
    this.#last = done.catch(() => {});
    return done;
  }

  async #carryOut(operation: Operation): Promise<Outcome> {
    const { base, position: before } = this.state.get();
    const result = await this.#call(operation).catch((error: Error) => error);
    const outcome = { number: ++this.#count, operation, base: base ?? 'all', before };
    if (!(result instanceof Error)) {
      const after = moved(before, operation, result);
      const selected = operation.name === 'serviceListSet' ? operation.payload.base : base;
      return this.#log({ ...outcome, base: selected ?? 'all', after, result }, { position: after, base: selected, failure: undefined });
    }
    // Only where no list is selected, as after a reset, is that the answer to what does not delete.
    const isUnselected = result instanceof ServiceError && result.name === 'InvalidState' && operation.name !== 'serviceListDelete';
    return this.#log({ ...outcome, after: before, error: result }, isUnselected ? unselected : {});
  }

  async #call(operation: Operation): Promise<unknown> {
    if (this.#context === undefined) {
      this.#context = await this.#tv.service.createContext().catch((failure: TvError) => {
        this.#show({ failure });
        throw failure;
      });
    }
    const { method, payload } = callOf(operation);
    return this.#tv.call(method, payload, { context: this.#context });
  }

  #log(outcome: Outcome, news: Partial<CursorState>): Outcome {
    this.#show({ ...news, log: [outcome, ...this.state.get().log].slice(0, longestLog) });
    return outcome;
  }

  #show(news: Partial<CursorState>): void {
    this.state.set({ ...this.state.get(), ...news });
  }
}
