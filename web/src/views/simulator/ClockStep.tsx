import { useServices } from '@ostrel/tv/react';
import { useState } from 'react';
import { Icon } from '../../parts/Icon';
import { useShortcuts } from '../../parts/shortcuts';
import { step, stepToNext } from './actions';
import styles from './Simulator.module.css';
import type { Steering } from './steering';

/** Lets time pass at once: a second, a minute, or up to just before the next programme begins. */
export function ClockStep({ steer }: { steer: Steering['steer'] }) {
  const services = useServices().data ?? [];
  const [chosen, choose] = useState('');
  const [before, setBefore] = useState('5');
  const go = () => {
    const service = services.find(({ id }) => String(id) === chosen);
    void steer(stepToNext(service, Number(before)));
  };
  useShortcuts('Clock', [{ key: 'n', does: 'Step to just before the next programme', run: go }]);
  return (
    <>
      <div className={styles.row}>
        <span className={styles.name}>Step</span>
        <div className={styles.buttons}>
          <button type="button" onClick={() => void steer(step(1))}>1 s <kbd>.</kbd></button>
          <button type="button" onClick={() => void steer(step(60))}>1 min <kbd>,</kbd></button>
          <button type="button" onClick={() => void steer(step(3600))}>1 h</button>
        </div>
      </div>
      <form className={styles.row} onSubmit={(event) => (event.preventDefault(), go())}>
        <span className={styles.name}>Junction</span>
        <div className={styles.buttons}>
          <label>
            <input className={styles.seconds} type="number" aria-label="Seconds before the next programme" min={0} max={86400} required
              value={before} onChange={(event) => setBefore(event.target.value)} />
            s before the next on
          </label>
          <select aria-label="Whose next programme" value={chosen} onChange={(event) => choose(event.target.value)}>
            <option value="">any service</option>
            {services.map(({ id, channelNumber, name }) => (
              <option key={id} value={id}>{channelNumber} {name}</option>
            ))}
          </select>
          <button title="Step there (n)"><Icon name="step" size={16} /> Go <kbd>n</kbd></button>
        </div>
      </form>
    </>
  );
}
