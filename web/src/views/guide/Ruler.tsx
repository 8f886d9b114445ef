import { formatDay, formatTime, type Seconds, type Zone } from '../../parts/time';
import { Icon } from '../../parts/Icon';
import { pixelOf, type Scale, type Span } from './cells';
import { daysIn, dayOf, ticks } from './days';
import type { Geometry } from './geometry';
import styles from './Guide.module.css';

interface DayChooserProps {
  days: Span;
  /** A time that is in sight. */
  at: Seconds;
  now: Seconds;
  zone: Zone;
  /** Called with the first second of a day. */
  onDay: (day: Seconds) => void;
  /** So many days on. */
  onStep: (days: number) => void;
}

/** Which day is in sight, and the way to another. */
export function DayChooser({ days, at, now, zone, onDay, onStep }: DayChooserProps) {
  const today = dayOf(now, zone).from;
  return (
    <div className={styles.chooser}>
      <button data-kind="quiet" aria-label="A day back" title="A day back ([)" onClick={() => onStep(-1)}>
        <Icon name="left" size={16} />
      </button>
      <select aria-label="Day" value={dayOf(at, zone).from} onChange={(event) => onDay(Number(event.target.value))}>
        {daysIn(days, zone).map((day) => (
          <option key={day} value={day}>
            {day === today ? formatDay(day, zone).replace(/^\S+/, 'Today') : formatDay(day, zone)}
          </option>
        ))}
      </select>
      <button data-kind="quiet" aria-label="A day on" title="A day on (])" onClick={() => onStep(1)}>
        <Icon name="right" size={16} />
      </button>
    </div>
  );
}

interface RulerProps {
  drawn: Span;
  scale: Scale;
  geometry: Geometry;
  zone: Zone;
}

/** The half hours of what is drawn. */
export function Ruler({ drawn, scale, geometry, zone }: RulerProps) {
  return (
    <div className={styles.ticks} aria-hidden="true">
      {ticks(drawn, 1800, zone).map((at) => {
        const isMidnight = dayOf(at, zone).from === at;
        return (
          <span key={at} className={styles.tick} data-midnight={isMidnight || undefined}
            style={{ left: geometry.header + pixelOf(at, scale), width: scale.pixelsPerHour / 2 }}>
            <span>{isMidnight ? formatDay(at, zone) : formatTime(at, zone)}</span>
          </span>
        );
      })}
    </div>
  );
}
