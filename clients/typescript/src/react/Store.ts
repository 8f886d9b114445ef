// SPDX-License-Identifier: Apache-2.0

import type { Batch } from '../Batch.js';
import type { Events } from '../Emitter.js';
import type { EventInfo } from '../generated/description.js';
import type { Tv } from '../Tv.js';
import { Alarm } from './Alarm.js';
import { type Answer, Entry, type Question, type Reply } from './Entry.js';

/** How the connection stands. */
export interface ConnectionStatus {
  readonly state: Events['state']['state'];
  /** In `waiting`: when the next attempt begins, by `Date.now()`. */
  readonly retryAt?: number;
  /** Why the connection is not there, for people. */
  readonly reason?: string;
}

/** What is on a service, and what comes next. */
export interface NowNext {
  readonly now?: EventInfo;
  readonly next?: EventInfo;
}

/** How far ahead the guide is looked through for what comes on a service that is off the air, in seconds. */
const ahead = 86_400;

const loading: Answer<never> = { state: 'loading', data: undefined, error: undefined, reload: () => {} };
const disconnected: Answer<never> = { ...loading, state: 'disconnected' };

/** What all hooks of one connection share: the questions under way and their answers, and the alarm. */
export class Store {
  readonly tv: Tv;
  connection: ConnectionStatus;
  readonly #alarm: Alarm;
  readonly #entries = new Map<string, Entry<any>>();
  #isConnected: boolean; // or about to be, for the first time
  #together: ((batch: Batch) => Promise<void>)[] = [];

  constructor(tv: Tv) {
    this.tv = tv;
    this.connection = { state: tv.state };
    this.#isConnected = tv.state === 'open' || tv.state === 'connecting';
    this.#alarm = new Alarm(tv.clock);
    tv.on('state', ({ state, retryIn, reason }) => {
      this.connection = {
        state,
        ...(retryIn !== undefined && { retryAt: Date.now() + retryIn }),
        ...(reason !== undefined && { reason }),
      };
      if (state === 'waiting' || state === 'closed') this.#connect(false);
    });
    tv.on('resync', () => this.#connect(true));
    tv.on('clock', ({ now }) => {
      this.#alarm.rest();
      for (const entry of this.#entries.values()) entry.checkTime(now);
    });
    for (const name of ['scanStart', 'scanProgress', 'scanComplete'] as const)
      tv.on(name, () => {
        for (const entry of this.#entries.values()) if (entry.question.isOfScan) entry.ask();
      });
  }

  /** Returns the answer to a question as it stands; the same object until it changes. */
  read<T>(key: string): Answer<T> {
    return this.#entries.get(key)?.answer ?? (this.#isConnected ? loading : disconnected);
  }

  /** Asks, unless that was done for somebody else, and again when the answer no longer holds. Ends once nobody
   * wants to know any more: not at once, as React may only be taking a component out to put it back. */
  listen<T>(question: Question<T>, listener: () => void): () => void {
    let entry = this.#entries.get(question.key) as Entry<T> | undefined;
    const isNew = entry === undefined;
    entry ??= new Entry(question, this.#alarm, this.read(question.key));
    const stop = entry.listen(listener);
    if (isNew) {
      this.#entries.set(question.key, entry);
      entry.ask();
    }
    return () => {
      stop();
      queueMicrotask(() => {
        if (entry.isWanted || this.#entries.get(question.key) !== entry) return;
        this.#entries.delete(question.key);
        entry.stop();
      });
    };
  }

  /** Calls at the multiples of so many seconds of the service's clock, and when that is set. Returns what ends it. */
  tick(every: number, listener: () => void): () => void {
    const { clock } = this.tv;
    const wake = () => {
      this.#alarm.set(wake, (Math.floor(clock.now() / every) + 1) * every);
      listener();
    };
    const stop = this.tv.on('clock', wake);
    wake();
    return () => {
      stop();
      this.#alarm.cancel(wake);
    };
  }

  /** What is on a service, until that ends; where nothing is on, until something begins. */
  async nowNext(id: number, signal: AbortSignal): Promise<Reply<NowNext>> {
    const [now, next] = await this.#ask((batch) => batch.guide.queryNowNextEventInfo({ id }, { signal }));
    if (now !== undefined) return { data: { now, ...(next && { next }) }, from: now.startTime, until: now.endTime };
    const from = Math.floor(this.tv.clock.now());
    const query = { serviceIdList: [id], timeRange: { base: from, limit: from + ahead } };
    const events = await this.#ask((batch) => batch.guide.queryEventInfo({ query }, { signal }));
    const coming = events.find(({ startTime }) => startTime > from);
    return { data: {}, from, until: coming?.startTime ?? from + ahead };
  }

  /** Makes a call in one message with the others that are made at this moment. */
  #ask<T>(make: (batch: Batch) => Promise<T>): Promise<T> {
    if (this.#together.length === 0)
      queueMicrotask(() => {
        const all = this.#together.splice(0);
        void this.tv.batch((batch) => all.map((each) => each(batch)));
      });
    return new Promise((resolve, reject) => {
      this.#together.push((batch) => make(batch).then(resolve, reject));
    });
  }

  #connect(isConnected: boolean): void {
    this.#isConnected = isConnected;
    for (const entry of this.#entries.values()) entry.connect(isConnected);
  }
}
