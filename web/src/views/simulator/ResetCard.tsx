import type { Simulator } from '@ostrel/tv/simulator';
import { useState } from 'react';
import { Confirm } from '../../parts/Dialog';
import { Failure } from '../../parts/Failure';
import { Icon } from '../../parts/Icon';
import { added } from '../scan/added';
import { resetAll } from './actions';
import styles from './Simulator.module.css';
import { useSteering } from './steering';

/** Puts everything back to how the host has started. */
export function ResetCard({ simulator }: { simulator: Simulator }) {
  const { steer, refusal } = useSteering(simulator);
  const [asks, ask] = useState(false);
  const reset = async () => {
    if (await steer(resetAll)) added.set([]);
  };
  return (
    <section className={styles.card} aria-labelledby="reset">
      <h2 id="reset">Back to the start</h2>
      <p className={styles.note}>Clock, weather, signal, channel lists, transponders and scan, as when the host had started.</p>
      <button type="button" onClick={() => ask(true)}>
        <Icon name="reload" size={16} /> Reset everything…
      </button>
      {refusal && <Failure error={refusal.error} call={refusal.action} />}
      {asks && (
        <Confirm title="Reset everything?" action="Reset" onConfirm={() => void reset()} onClose={() => ask(false)}>
          <p>For everybody who uses this service:</p>
          <ul className={styles.bullets}>
            <li>The clock goes as the host was told to let it go.</li>
            <li>The weather's rules and the signal are those of the start.</li>
            <li>Both channel lists and the transponder list are whole again.</li>
            <li>A scan that runs ends, and nobody is told.</li>
          </ul>
          <p>Connections and contexts stay; who reads a channel list selects it again.</p>
        </Confirm>
      )}
    </section>
  );
}
