import type { TimeRange } from '@ostrel/tv';
import { useClock } from '@ostrel/tv/react';
import { useEffect, useRef } from 'react';
import { useZone } from '../../app/settings';
import { dayStart, formatLocal, parseLocal, type Seconds, type Zone } from '../../parts/time';
import styles from './ByForm.module.css';

interface TimeWindowProps {
  range: TimeRange | undefined;
  onChange: (range: TimeRange | undefined) => void;
}

/** A part of the guide's time, or all of it. */
export function TimeWindow({ range, onChange }: TimeWindowProps) {
  const { now } = useClock(60);
  const zone = useZone();
  const windows: [string, Seconds, Seconds][] = [
    ['2 h', now, now + 2 * 3600],
    ['Today', dayStart(now, zone), dayStart(now, zone, 1)],
    ['Tomorrow', dayStart(now, zone, 1), dayStart(now, zone, 2)],
  ];
  const change = (member: 'base' | 'limit', time: Seconds | undefined) => {
    const { [member]: _before, ...rest } = range ?? {};
    onChange(time === undefined ? rest : { ...rest, [member]: time });
  };
  return (
    <div role="group" aria-label="Time" className={styles.group}>
      <TimeField label="From" time={range?.base} zone={zone} onChange={(time) => change('base', time)} />
      <TimeField label="To" time={range?.limit} zone={zone} onChange={(time) => change('limit', time)} />
      <div className={styles.presets}>
        {windows.map(([name, base, limit]) => (
          <button key={name} type="button" className="chip" aria-pressed={range?.base === base && range.limit === limit} onClick={() => onChange({ ...range, base, limit })}>
            {name}
          </button>
        ))}
        <button type="button" className="chip" aria-pressed={range === undefined} onClick={() => onChange(undefined)}>
          Any
        </button>
      </div>
    </div>
  );
}

interface TimeFieldProps {
  label: string;
  time: Seconds | undefined;
  zone: Zone;
  onChange: (time: Seconds | undefined) => void;
}

function TimeField({ label, time, zone, onChange }: TimeFieldProps) {
  const field = useRef<HTMLInputElement>(null);
  const text = time === undefined ? '' : formatLocal(time, zone);
  // A value that React holds would be put back while somebody types the parts of another.
  useEffect(() => {
    if (field.current !== null && field.current.value !== text) field.current.value = text;
  }, [text]);
  return (
    <label className={styles.label}>
      {label}
      <input ref={field} type="datetime-local" defaultValue={text}
        onChange={({ target }) => target.validity.badInput || onChange(parseLocal(target.value, zone))} />
    </label>
  );
}
