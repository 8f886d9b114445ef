import { useConnection } from '@ostrel/tv/react';
import type { Simulator } from '@ostrel/tv/simulator';
import { useSimulator } from '../../app/simulator';
import { Empty } from '../../parts/Empty';
import { Lines } from '../../parts/Lines';
import { Shape } from '../../parts/Shape';
import { ClockCard } from './ClockCard';
import { ResetCard } from './ResetCard';
import { SignalCard } from './SignalCard';
import styles from './Simulator.module.css';
import { useIsOpen } from './steering';
import { WeatherCard } from './WeatherCard';

function Off() {
  return (
    <Empty icon="simulator" title="This service cannot be steered">
      <p>
        Its host was started with <code className={styles.whole}>--no-simulator</code>, or is no simulation at all. Without that option its clock, its
        weather and its signal are set here:
      </p>
      <code>ostrel-tvd --fake-time</code>
    </Empty>
  );
}

function Loading() {
  return (
    <div className={styles.view} aria-busy="true">
      <div className={styles.clock}><Shape height={320} /></div>
      <div className={styles.weather}><Shape height={280} /></div>
      <div className={styles.side}><Shape height={132} /><Shape height={132} /></div>
    </div>
  );
}

function Controls({ simulator }: { simulator: Simulator }) {
  const isOpen = useIsOpen(simulator);
  return (
    <fieldset className={styles.view} disabled={!isOpen} data-old={!isOpen || undefined} aria-label="Controls of the simulation">
      <ClockCard simulator={simulator} />
      <WeatherCard simulator={simulator} />
      <div className={styles.side}>
        <SignalCard simulator={simulator} />
        <ResetCard simulator={simulator} />
        <section className={styles.card} aria-labelledby="done">
          <h2 id="done">The same from a shell</h2>
          <Lines />
        </section>
      </div>
    </fieldset>
  );
}

/** Steers the simulated service for everybody: its clock, its weather, its signal. */
export default function SimulatorView() {
  const { state, simulator } = useSimulator();
  const connection = useConnection();
  if (simulator !== undefined) return <Controls simulator={simulator} />;
  if (state === 'off') return <Off />;
  if (connection.state === 'waiting' || connection.state === 'closed')
    return (
      <Empty icon="simulator" title="Nobody answers">
        <p>The page tries again by itself. Is the host running?</p>
        <code>./dev run</code>
      </Empty>
    );
  return <Loading />;
}
