import type { EventInfo, TvError } from '@ostrel/tv';
import { ConnectionLost } from '@ostrel/tv';
import { useConnection, useTv } from '@ostrel/tv/react';
import { useEffect, useState } from 'react';
import type { CallLike } from '../../parts/callAs';
import { find, type Found } from './found';

/** An answer that has come, and what it was to. */
interface Answered {
  call: CallLike;
  found?: Found;
  error?: TvError;
  /** From the question to the answer, in milliseconds. */
  took: number;
}

export interface Asked extends Partial<Answered> {
  /** `loading`: the answer is that of before, or none. `disconnected`: it is asked again once there is a connection. */
  state: 'loading' | 'ready' | 'failed' | 'disconnected';
}

/** Asks, each time that the call or the round is another one, and after each new connection. */
export function useAsked(call: CallLike | undefined, round: number): Asked {
  const tv = useTv();
  const { state: connection } = useConnection();
  const isConnected = connection === 'open';
  const [answered, setAnswered] = useState<Answered>();
  const [isAsking, setAsking] = useState(false);
  const key = call && JSON.stringify([call, round]);
  useEffect(() => {
    if (call === undefined || !isConnected) return;
    const ended = new AbortController();
    const start = performance.now();
    const answer = (news: Pick<Answered, 'found' | 'error'>) => {
      if (ended.signal.aborted) return;
      setAnswered({ call, took: performance.now() - start, ...news });
      setAsking(false);
    };
    setAsking(true);
    tv.call(call.method as string, call.payload, { signal: ended.signal, timeout: 60_000 }).then(
      (items) => answer({ found: find(items as (string | EventInfo)[]) }),
      (error: TvError) => error instanceof ConnectionLost || answer({ error }),
    );
    return () => ended.abort();
  }, [tv, key, isConnected]);
  return { ...answered, state: stateOf() };

  function stateOf(): Asked['state'] {
    const isFirst = connection === 'connecting' && answered === undefined;
    if (!isConnected && !isFirst) return 'disconnected';
    if (isAsking || answered === undefined) return 'loading';
    return answered.error ? 'failed' : 'ready';
  }
}
