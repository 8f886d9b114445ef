import { useState } from 'react';
import { useZone } from '../../app/settings';
import { useWorld } from '../../app/simulator';
import { formatDay, formatLocal, formatTime, formatZone, parseLocal, type Seconds } from '../../parts/time';
import { setTime } from './actions';
import styles from './Simulator.module.css';
import type { Steering } from './steering';

/** Sets the clock to a date and time of the zone that times are shown in. */
export function ClockSet({ now, steer }: { now: Seconds; steer: Steering['steer'] }) {
  const zone = useZone();
  const world = useWorld();
  const [typed, type] = useState<string>();
  const set = (time: Seconds) => void steer(setTime(time, `${formatDay(time, zone)}, ${formatTime(time, zone)}`)).then(() => type(undefined));
  const text = typed ?? formatLocal(now, zone);
  const time = parseLocal(text, zone);
  return (
    <form className={styles.row} onSubmit={(event) => (event.preventDefault(), time !== undefined && set(time))}>
      <label className={styles.name} htmlFor="moment">Set to</label>
      <div className={styles.buttons}>
        <input id="moment" type="datetime-local" step={1} required value={text} onChange={(event) => type(event.target.value)} />
        <span className={styles.zone}>{formatZone(time ?? now, zone)}</span>
        <button disabled={time === undefined}>Set</button>
        {world !== undefined && (
          <button type="button" title="When the first programme of the guide begins" onClick={() => set(world.start)}>
            Guide's start
          </button>
        )}
      </div>
    </form>
  );
}
