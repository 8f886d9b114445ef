// SPDX-License-Identifier: Apache-2.0

import { useCallback, useMemo, useState, useSyncExternalStore } from 'react';
import type { TvError } from '../errors.js';
import type { EventInfo, Methods, ScanInfo, ServiceInfo, ServiceListSetPayload } from '../generated/description.js';
import type { GuideWindow } from '../Guide.js';
import type { Tv } from '../Tv.js';
import type { Answer, Question } from './Entry.js';
import type { ConnectionStatus, NowNext } from './Store.js';
import { useStore } from './TvProvider.js';

function useAnswer<T>(question: Question<T>): Answer<T> {
  const store = useStore();
  const { key } = question;
  const listen = useCallback((listener: () => void) => store.listen(question, listener), [store, key]);
  const read = () => store.read<T>(key);
  return useSyncExternalStore(listen, read, read);
}

/** The connection, for calls in answer to what a viewer does. @throws {Error} there is no TvProvider around */
export const useTv = (): Tv => useStore().tv;

/** How the connection stands, for a dot and a word: `open`, or `waiting` with `retryAt`. */
export function useConnection(): ConnectionStatus {
  const store = useStore();
  const listen = useCallback((listener: () => void) => store.tv.on('state', listener), [store]);
  const read = () => store.connection;
  return useSyncExternalStore(listen, read, read);
}

/**
 * What a method answers, for those that only ask: `useCall('ITVGuide::getGenreStringMapList')`. Equal payloads are
 * the same question.
 */
export function useCall<M extends keyof Methods>(
  method: M,
  ...[payload]: undefined extends Methods[M]['payload'] ? [payload?: undefined] : [payload: Methods[M]['payload']]
): Answer<Methods[M]['result']> {
  const { tv } = useStore();
  return useAnswer({
    key: `call ${method} ${JSON.stringify(payload)}`,
    ask: async (signal) => ({ data: (await tv.call(method as string, payload, { signal })) as Methods[M]['result'] }),
  });
}

/**
 * The services of a list, by channel number; asked for again while a scan finds some.
 *
 * Each time the cursor of the connection's own context is put at the start of that list: a view with a cursor
 * makes a context for it.
 */
export function useServices({ base }: ServiceListSetPayload = { base: 'all' }): Answer<ServiceInfo[]> {
  const { tv } = useStore();
  return useAnswer({
    key: `services ${base}`,
    ask: async (signal) => ({ data: await tv.service.list({ base }, { signal }) }),
    isOfScan: true,
  });
}

/**
 * The events of a part of the guide, as `tv.guide.window()` gives them.
 *
 * When the window moves, `data` is that of the old one until the new one is there. Every other window is
 * another question: let them begin and end at full hours, say, and not at each pixel.
 */
export function useGuideWindow({ from, to, services }: GuideWindow): Answer<EventInfo[]> {
  const { tv } = useStore();
  const answer = useAnswer({
    key: `guide ${from} ${to} ${services ?? 'all'}`,
    ask: async (signal) => ({ data: await tv.guide.window({ from, to, services }, { signal }) }),
  });
  const [latest, keep] = useState(answer.data);
  if (answer.data !== undefined && answer.data !== latest) keep(answer.data);
  return answer.data === undefined ? { ...answer, data: latest } : answer;
}

/**
 * What is on a service and what comes next; neither where nothing is on the air. Asked for again when that ends,
 * or something begins, by the service's clock.
 *
 * However many components want to know, services that change at the same time are asked for in one message.
 *
 * @param id  the service's number in the guide: `id` of a `ServiceInfo`
 */
export function useNowNext(id: number): Answer<NowNext> {
  const store = useStore();
  return useAnswer({ key: `now ${id}`, ask: (signal) => store.nowNext(id, signal) });
}

/** The scan, which is everybody's. */
export interface ScanAnswer extends Answer<ScanInfo | undefined> {
  /** Starts a scan over the whole band, or over the transponders of the list. */
  start: (options?: { over?: 'band' | 'transponders' }) => void;
  /** Stops the scan, whoever started it; what it has found stays. */
  stop: () => void;
  /** Why the latest start or stop from here did not come about; undefined when it did. */
  refusal: TvError | undefined;
}

/** How the scan that runs stands, or the latest; `data` is undefined when it is `ready` and there was none. */
export function useScan(): ScanAnswer {
  const { tv } = useStore();
  const answer = useAnswer({
    key: 'scan',
    ask: async (signal) => ({ data: await tv.scan.info({ signal }) }),
    isOfScan: true,
  });
  const [refusal, refuse] = useState<TvError>();
  const attempt = (done: Promise<unknown>) => {
    refuse(undefined);
    done.catch(refuse);
  };
  return {
    ...answer,
    refusal,
    start: ({ over } = {}) => attempt(tv.scan.start({ over: over ?? 'band' })),
    stop: () => attempt(tv.scan.stop()),
  };
}

/** The service's time. */
export interface ClockReading {
  /** Seconds since 1970-01-01 UTC, whole. */
  now: number;
  /** The service's seconds that pass in one of ours: 1, unless a simulator has been told another; 0 while its
   * clock stands. */
  speed: number;
}

/**
 * The service's time, without a call. The component is rendered when it changes, ten times a second at most, and
 * not at all while the clock stands.
 *
 * @param every  seconds: only their multiples are told. 60 for a clock that shows hours and minutes.
 */
export function useClock(every = 1): ClockReading {
  const store = useStore();
  // What is read must stay until the next tick: a fast clock would be another one each time React looks.
  const face = useMemo(() => {
    const { clock } = store.tv;
    const read = () => Math.floor(clock.now() / every) * every;
    let now = read();
    const tick = (listener: () => void) => () => {
      now = read();
      listener();
    };
    return { now: () => now, listen: (listener: () => void) => store.tick(every, tick(listener)) };
  }, [store, every]);
  const listenToSpeed = useCallback((listener: () => void) => store.tv.on('clock', listener), [store]);
  const readSpeed = () => store.tv.clock.speed;
  const now = useSyncExternalStore(face.listen, face.now, face.now);
  const speed = useSyncExternalStore(listenToSpeed, readSpeed, readSpeed);
  return { now, speed };
}
