import { ConnectionLost, type EventInfo, type Tv, type TvError } from '@ostrel/tv';
import { type Answer, useClock, useConnection, useTv } from '@ostrel/tv/react';
import { useCallback, useEffect, useState } from 'react';
import { type Air, eventsBehind, isShort, moveOn, onAt, reaches, readOn, startAir } from './air';

/** What is on the air at this moment, of all services. */
export type OnAir = ReadonlyMap<number, EventInfo>;

async function readAir(tv: Tv, signal: AbortSignal): Promise<Air> {
  await tv.clock.measure().catch(() => {}); // until it has been, the time is this machine's
  signal.throwIfAborted();
  const at = Math.floor(tv.clock.now());
  const air = startAir(at, []);
  const [on, coming] = await tv.batch(
    (batch) => [batch.guide.queryEventInfo(onAt(at)), batch.guide.queryEventInfo(eventsBehind(air.next))],
    { signal },
  );
  return readOn(startAir(at, on), coming);
}

/**
 * Follows what is on the air by the service's clock. What is on is asked for once; what begins later is read ahead
 * in the order of its start, each event once, so that nothing is asked when something ends or begins. A clock that
 * leaps to where nothing was read, and a new connection, make a new beginning.
 */
export function useOnAir(): Answer<OnAir> {
  const tv = useTv();
  const connection = useConnection().state;
  const { now, speed } = useClock();
  const [round, setRound] = useState(0);
  const [kept, keep] = useState<{ air: Air; round: number }>();
  const [error, setError] = useState<TvError>();
  const reload = useCallback(() => setRound((n) => n + 1), []);
  const isOpen = connection === 'open';
  const isRead = kept?.round === round && reaches(kept.air, now);
  const isMore = isOpen && isRead && isShort(kept.air, now, speed);
  const next = kept?.air.next;

  useEffect(() => tv.on('resync', reload), [tv, reload]);
  useEffect(() => {
    if (!isOpen || isRead) return;
    const asking = new AbortController();
    setError(undefined);
    readAir(tv, asking.signal).then(
      (air) => keep({ air, round }),
      (error: TvError) => asking.signal.aborted || error instanceof ConnectionLost || setError(error),
    );
    return () => asking.abort();
  }, [tv, isOpen, isRead, round]);
  useEffect(() => {
    if (!isMore || next === undefined) return;
    const asking = new AbortController();
    tv.guide.queryEventInfo(eventsBehind(next), { signal: asking.signal }).then(
      (page) => keep((kept) => (kept?.air.next === next ? { ...kept, air: readOn(kept.air, page) } : kept)),
      () => {}, // where the reading ends there is a new beginning, and that may fail
    );
    return () => asking.abort();
  }, [tv, isMore, next]);

  const air = isRead ? moveOn(kept.air, now) : kept?.air;
  if (air !== undefined && air !== kept?.air) keep({ air, round });

  const open = error !== undefined ? 'failed' : isRead ? 'ready' : 'loading';
  const away = air === undefined && connection === 'connecting' ? 'loading' : 'disconnected';
  return { data: air?.on, error, state: isOpen ? open : away, reload };
}
