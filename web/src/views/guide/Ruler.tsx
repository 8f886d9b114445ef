import { memo } from 'react';
import { formatDay, formatTime, type Seconds, type Zone } from '../../parts/time';
import { Icon } from '../../parts/Icon';
import { pixelOf, type Scale, type Span } from './cells';
import { ticks } from './days';
import type { Geometry } from './geometry';
import styles from './Guide.module.css';

interface DayChooserProps {
  /** Each by its first second. */
  days: readonly Seconds[];
  /** The one in sight. */
  day: Seconds;
  today: Seconds;
  zone: Zone;
  onDay: (day: Seconds) => void;
  /** So many days on. */
  onStep: (days: number) => void;
}

/** Which day is in sight, and the way to another. */
export function DayChooser({ days, day, today, zone, onDay, onStep }: DayChooserProps) {
  return (
    <div className={styles.chooser}>
      <button data-kind="quiet" aria-label="A day back" title="A day back ([)" onClick={() => onStep(-1)}>
        <Icon name="left" size={16} />
      </button>
      <select aria-label="Day" value={day} onChange={(event) => onDay(Number(event.target.value))}>
        {days.map((each) => (
          <option key={each} value={each}>
            {each === today ? formatDay(each, zone).replace(/^\S+/, 'Today') : formatDay(each, zone)}
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
export const Ruler = memo(function Ruler({ drawn, scale, geometry, zone }: RulerProps) {
  return (
    <div className={styles.ticks} aria-hidden="true">
      {ticks(drawn, 1800, zone).map((at) => {
        const text = formatTime(at, zone);
        const isMidnight = text === '00:00';
        return (
          <span key={at} className={styles.tick} data-midnight={isMidnight || undefined}
            style={{ left: geometry.header + pixelOf(at, scale), width: scale.pixelsPerHour / 2 }}>
            <span>{isMidnight ? formatDay(at, zone) : text}</span>
          </span>
        );
      })}
    </div>
  );
});
