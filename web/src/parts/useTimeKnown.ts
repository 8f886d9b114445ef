import { ConnectionLost, type TvError } from '@ostrel/tv';
import { useConnection, useTv } from '@ostrel/tv/react';
import { useCallback, useEffect, useState } from 'react';

/** Whether the service's time is known, or why not: nothing can be placed before. */
export function useTimeKnown(): { isKnown: boolean; error: TvError | undefined; measure: () => void } {
  const tv = useTv();
  const { state } = useConnection();
  const [isKnown, know] = useState(false);
  const [error, fail] = useState<TvError>();
  const measure = useCallback(() => {
    fail(undefined);
    tv.clock.measure().then(() => know(true), (error: TvError) => error instanceof ConnectionLost || fail(error));
  }, [tv]);
  useEffect(() => tv.on('clock', () => know(true)), [tv]); // it goes on asking by itself
  useEffect(() => {
    if (state === 'open' && !isKnown) measure();
  }, [state, isKnown, measure]);
  return { isKnown, error, measure };
}
