import type { TvError } from '@ostrel/tv';
import { useTv } from '@ostrel/tv/react';
import { useEffect, useRef, useState } from 'react';
import { useSimulator } from '../../app/simulator';

/** What has become of a call that was made here. */
export type Sent =
  | { state: 'none' | 'under way' }
  | { state: 'answered'; result: unknown; micros: number; number: number }
  | { state: 'refused'; error: TvError; micros: number };

let number = 0;

/** Makes calls, one at a time: another one takes the place of that before it. */
export function useSend(): [Sent, (method: string, body: unknown, context: number | undefined) => void] {
  const tv = useTv();
  const { simulator } = useSimulator();
  const [sent, tell] = useState<Sent>({ state: 'none' });
  const current = useRef<AbortController>(undefined);
  useEffect(() => () => current.current?.abort(), []);
  const send = (method: string, body: unknown, context: number | undefined) => {
    current.current?.abort();
    const { signal } = (current.current = new AbortController());
    const began = performance.now();
    const took = () => Math.round((performance.now() - began) * 1000);
    const options = { signal, context, timeout: 30_000 };
    const caller = method.startsWith('Simulator::') ? simulator : tv;
    if (caller === undefined) return;
    tell({ state: 'under way' });
    caller.call(method, body, options).then(
      (result) => signal.aborted || tell({ state: 'answered', result, micros: took(), number: ++number }),
      (error: TvError) => signal.aborted || tell({ state: 'refused', error, micros: took() }),
    );
  };
  return [sent, send];
}
