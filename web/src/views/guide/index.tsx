import { ConnectionLost, type TvError } from '@ostrel/tv';
import { useConnection, useServices, useTv } from '@ostrel/tv/react';
import { useCallback, useEffect, useState } from 'react';
import { Empty } from '../../parts/Empty';
import { Failure } from '../../parts/Failure';
import { servicesCall } from '../../parts/services';
import { Guide } from './Guide';
import { GridShape } from './GridShape';

/** Whether the service's time is known, or why not: nothing can be placed before. */
function useTimeKnown(): { isKnown: boolean; error: TvError | undefined; measure: () => void } {
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

/** The programme guide. */
export default function View() {
  const { data, error, state, reload } = useServices();
  const time = useTimeKnown();
  if (state === 'failed' && error !== undefined)
    return <Failure error={error} call={servicesCall} onRetry={reload} />;
  if (!time.isKnown && time.error !== undefined)
    return <Failure error={time.error} call={{ method: 'ITVService::utcTimeGet', payload: {} }} onRetry={time.measure} />;
  if (data === undefined || !time.isKnown) return <GridShape />;
  if (data.length === 0)
    return (
      <Empty icon="guide" title="No channels yet">
        <p>A scan finds what is on the air.</p>
        <a className="button" href="#/scan">
          Look for channels
        </a>
      </Empty>
    );
  return <Guide services={data} />;
}
