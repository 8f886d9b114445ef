import { useServices } from '@ostrel/tv/react';
import { Empty } from '../../parts/Empty';
import { Failure } from '../../parts/Failure';
import { servicesCall } from '../../parts/services';
import { useTimeKnown } from '../../parts/useTimeKnown';
import { Guide } from './Guide';
import { GridShape } from './GridShape';

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
