import { useConnection, useServices, useTv } from '@ostrel/tv/react';
import { useEffect, useState } from 'react';
import { Empty } from '../../parts/Empty';
import { Failure } from '../../parts/Failure';
import { Guide } from './Guide';
import { GridShape } from './GridShape';

/** Whether the service's time is known: nothing can be placed before. */
function useIsTimeKnown(): boolean {
  const tv = useTv();
  const { state } = useConnection();
  const [isKnown, know] = useState(false);
  useEffect(() => {
    if (state === 'open' && !isKnown) tv.clock.measure().then(() => know(true), () => {});
  }, [tv, state, isKnown]);
  return isKnown;
}

/** The programme guide. */
export default function View() {
  const { data, error, state, reload } = useServices();
  const isTimeKnown = useIsTimeKnown();
  if (state === 'failed' && error !== undefined)
    return <Failure error={error} call={{ method: 'ITVService::serviceListGet', payload: { limit: 4294967295 } }} onRetry={reload} />;
  if (data === undefined || !isTimeKnown) return <GridShape />;
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
