import type { World } from '@ostrel/tv/simulator';
import { useState } from 'react';
import { useZone } from '../../app/settings';
import { useWorld } from '../../app/simulator';
import { dayStart, formatDate, formatDay, formatSeconds, formatTime, type Seconds } from '../../parts/time';
import { setTime } from './actions';
import styles from './Simulator.module.css';
import { type Steering, useLatest } from './steering';

/** Midnights between two times. */
function midnights(from: Seconds, to: Seconds, zone: string): Seconds[] {
  const found: Seconds[] = [];
  for (let time = dayStart(from, zone, 1); time < to && found.length < 60; time = dayStart(time, zone, 1)) found.push(time);
  return found;
}

/** The days of the guide, and where in them the clock is: to be pulled along. */
export function GuideDays({ now, steer }: { now: Seconds; steer: Steering['steer'] }) {
  const world = useWorld();
  const zone = useZone();
  const [chosen, choose] = useLatest((time: Seconds) => steer(setTime(time, `${formatDay(time, zone)}, ${formatTime(time, zone)}`)));
  // What is pulled must not move meanwhile: a guide of today turns as the clock goes on.
  const [held, hold] = useState<Pick<World, 'start' | 'end'>>();
  if (world === undefined || world.end <= world.start) return null;
  const { start, end } = held ?? world;
  const shown = chosen ?? now;
  const days = midnights(start, end, zone);
  const place = (time: Seconds) => ({ '--at': (time - start) / (end - start) }) as React.CSSProperties;
  const isOutside = shown < start || shown > end;
  return (
    <div className={styles.days}>
      <input type="range" aria-label="The clock, within the days of the guide" min={start} max={end} step={60} value={Math.floor(shown / 60) * 60}
        onPointerDown={() => hold({ start, end })} onPointerUp={() => hold(undefined)} onPointerCancel={() => hold(undefined)}
        aria-valuetext={`${formatDate(shown, zone)}, ${formatSeconds(shown, zone)}`} onChange={(event) => choose(event.target.valueAsNumber)} />
      <div className={styles.dayMarks} aria-hidden="true">
        {days.map((time, day) => (
          <span key={time} style={place(time)} data-minor={days.length > 16 && day % 7 !== 0 ? true : undefined}>{formatDay(time, zone)}</span>
        ))}
      </div>
      {isOutside && <p>The clock is {shown < start ? 'before' : 'behind'} the days of the guide: nothing is on the air.</p>}
    </div>
  );
}
