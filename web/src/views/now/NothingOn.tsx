import { useClock } from '@ostrel/tv/react';
import { useZone } from '../../app/settings';
import { useWorld } from '../../app/simulator';
import { Empty } from '../../parts/Empty';
import { formatDay, formatTime } from '../../parts/time';

/** Says that no service is on the air, and when some are. */
export function NothingOn() {
  const { now } = useClock(60);
  const zone = useZone();
  const world = useWorld();
  const at = (time: number) => `${formatDay(time, zone)}, ${formatTime(time, zone)}`;
  return (
    <Empty icon="now" title="Nothing is on the air">
      <p>
        It is {at(now)} for the service.
        {world !== undefined && ` Its guide reaches from ${at(world.start)} to ${at(world.end)}.`}
      </p>
      {world !== undefined && <a className="button" href="#/simulator">Set the clock</a>}
    </Empty>
  );
}
