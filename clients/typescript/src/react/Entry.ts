// SPDX-License-Identifier: Apache-2.0

import { ConnectionLost, type TvError } from '../errors.js';
import type { Alarm } from './Alarm.js';

/** What a hook shows of something that the service was asked. */
export interface Answer<T> {
  /** The latest that came. It stays while the service is asked again, and while there is no connection. */
  readonly data: T | undefined;
  /** Why it is `failed`: a `ServiceError`, `DecodeError` or `TimedOut`. */
  readonly error: TvError | undefined;
  /**
   * How it stands:
   *
   * - `loading`: asked, and nothing has come since; `data` may be of before
   * - `ready`: `data` is what the service says
   * - `failed`: `error` says why
   * - `disconnected`: there is no connection; once there is one the service is asked again by itself
   */
  readonly state: 'loading' | 'ready' | 'failed' | 'disconnected';
  /** Asks again. */
  readonly reload: () => void;
}

/** What the service said, and between which of its times that holds; for ever without them. */
export interface Reply<T> {
  data: T;
  from?: number;
  until?: number;
}

/** Something to ask. */
export interface Question<T> {
  /** Equal keys are the same question, which is asked once for all who want to know. */
  key: string;
  ask: (signal: AbortSignal) => Promise<Reply<T>>;
  /** A scan may change the answer. */
  isOfScan?: boolean;
}

/** What is asked for as long as somebody wants to know: a question, who wants to know, and the answer. */
export class Entry<T> {
  readonly question: Question<T>;
  readonly #alarm: Alarm;
  readonly #listeners = new Set<() => void>();
  #asking: AbortController | undefined;
  #isOutdated = false; // what is under way, before it has come
  #from = -Infinity;
  #isConnected: boolean;
  answer: Answer<T>;

  constructor(question: Question<T>, alarm: Alarm, unknown: Answer<never>) {
    this.question = question;
    this.#alarm = alarm;
    this.#isConnected = unknown.state !== 'disconnected';
    this.answer = { ...unknown, reload: this.ask };
  }

  get isWanted(): boolean {
    return this.#listeners.size > 0;
  }

  /** Returns what ends the listening. */
  listen(listener: () => void): () => void {
    this.#listeners.add(listener);
    return () => void this.#listeners.delete(listener);
  }

  /** Asks, unless there is no connection. What is under way may be of before: then once more behind it. */
  readonly ask = (): void => {
    if (!this.#isConnected || !this.isWanted) return;
    if (this.#asking !== undefined) {
      this.#isOutdated = true;
      return;
    }
    if (this.answer.state !== 'ready') this.show({ state: 'loading', error: undefined });
    const asking = new AbortController();
    this.#asking = asking;
    this.question.ask(asking.signal).then(
      (reply) => {
        if (asking.signal.aborted) return;
        this.#from = reply.from ?? -Infinity;
        if (reply.until !== undefined) this.#alarm.set(this.ask, reply.until);
        this.show({ state: 'ready', data: reply.data, error: undefined });
        this.#askOnceMore();
      },
      (error: TvError) => {
        if (asking.signal.aborted || error instanceof ConnectionLost) return; // which is told in another way
        this.show({ state: 'failed', error });
        this.#askOnceMore();
      },
    );
  };

  #askOnceMore(): void {
    this.#asking = undefined;
    if (!this.#isOutdated) return;
    this.#isOutdated = false;
    this.ask();
  }

  /** Asks again if the answer does not hold at a time of the service's clock, which has been set. */
  checkTime(now: number): void {
    if (now < this.#from) this.ask();
  }

  /** The connection has come, or gone. */
  connect(isConnected: boolean): void {
    this.#isConnected = isConnected;
    this.stop();
    if (!isConnected) return this.show({ state: 'disconnected' });
    this.show({ state: 'loading' });
    this.ask();
  }

  /** Ends what is under way. */
  stop(): void {
    this.#asking?.abort();
    this.#asking = undefined;
    this.#isOutdated = false;
    this.#alarm.cancel(this.ask);
  }

  show(news: Partial<Answer<T>>): void {
    this.answer = { ...this.answer, ...news };
    for (const listener of [...this.#listeners]) listener();
  }
}
