import { useEffect, useState } from 'react';
import { setSpeed } from './actions';
import styles from './Simulator.module.css';
import { fastest, lastPosition, marks, positionOf, speedAt, speedText } from './speed';
import { type Steering, useLatest } from './steering';

/** How fast the clock runs: a slider by factors, and the number itself. */
export function ClockSpeed({ speed, steer }: { speed: number; steer: Steering['steer'] }) {
  const [chosen, choose] = useLatest((value: number) => steer(setSpeed(value)));
  const shown = chosen ?? speed;
  const [text, setText] = useState(String(shown));
  useEffect(() => setText(String(shown)), [shown]);
  return (
    <div className={styles.row}>
      <label className={styles.name} htmlFor="speed">Speed</label>
      <div className={styles.slider}>
        <input id="speed" type="range" min={0} max={lastPosition} value={positionOf(shown)} aria-valuetext={speedText(shown)}
          onChange={(event) => choose(speedAt(event.target.valueAsNumber))} />
        <div className={styles.marks}>
          {marks.map(([mark, words]) => (
            <button key={mark} type="button" data-kind="quiet" aria-pressed={shown === mark} aria-label={`Speed ${mark}: ${speedText(mark)}`}
              style={{ '--at': positionOf(mark) / lastPosition } as React.CSSProperties} onClick={() => choose(mark)}>
              {words}
            </button>
          ))}
        </div>
      </div>
      <form className={styles.number} onSubmit={(event) => (event.preventDefault(), choose(Number(text)))}>
        <span aria-hidden="true">×</span>
        <input type="number" aria-label="Speed as a number" min={0} max={fastest} step="any" required value={text}
          onChange={(event) => setText(event.target.value)}
          onBlur={(event) => event.target.checkValidity() && Number(text) !== shown && choose(Number(text))} />
      </form>
    </div>
  );
}
