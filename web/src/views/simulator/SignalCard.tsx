import { useCall, useTv } from '@ostrel/tv/react';
import type { Simulator } from '@ostrel/tv/simulator';
import { useEffect } from 'react';
import { Answered } from '../../parts/Answered';
import { Failure } from '../../parts/Failure';
import { Shapes } from '../../parts/Shape';
import { setSignal } from './actions';
import styles from './Simulator.module.css';
import { useLatest, useSteering } from './steering';

const ofNoSource = { sourceId: 0 };

/** What every tuner says of its reception. */
export function SignalCard({ simulator }: { simulator: Simulator }) {
  const tv = useTv();
  const answer = useCall('ITVService::signalStatusGet', ofNoSource);
  const { steer, refusal } = useSteering(simulator);
  const { reload } = answer;
  const [chosen, choose] = useLatest(async ({ strength, quality }: { strength: number; quality: number }) => {
    if (await steer(setSignal(strength, quality))) reload();
  });
  useEffect(() => {
    addEventListener('focus', reload); // others set it without a word
    const stop = tv.on('clock', reload); // of a reset the clock tells
    return () => (removeEventListener('focus', reload), stop());
  }, [tv, reload]);
  return (
    <section className={styles.card} aria-labelledby="signal">
      <h2 id="signal">Signal</h2>
      <Answered answer={answer} call={{ method: 'ITVService::signalStatusGet', payload: ofNoSource }} shape={<Shapes count={2} height={32} />}>
        {(told) => {
          const signal = chosen ?? told;
          return (['strength', 'quality'] as const).map((name) => (
            <label key={name} className={styles.signal}>
              <span>{name === 'strength' ? 'Strength' : 'Quality'}</span>
              <input type="range" min={0} max={100} value={signal[name]} aria-valuetext={`${signal[name]} %`}
                onChange={(event) => choose({ ...signal, [name]: event.target.valueAsNumber })} />
              <output>{signal[name]} %</output>
            </label>
          ));
        }}
      </Answered>
      {refusal && <Failure error={refusal.error} call={refusal.action} />}
    </section>
  );
}
