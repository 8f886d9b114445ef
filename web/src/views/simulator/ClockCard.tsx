import type { Simulator } from '@ostrel/tv/simulator';
import { useZone } from '../../app/settings';
import { Failure } from '../../parts/Failure';
import { Icon } from '../../parts/Icon';
import { useShortcuts } from '../../parts/shortcuts';
import { formatDate, formatSeconds, formatZone } from '../../parts/time';
import { hold, run, step } from './actions';
import { ClockSet } from './ClockSet';
import { ClockSpeed } from './ClockSpeed';
import { ClockStep } from './ClockStep';
import { GuideDays } from './GuideDays';
import styles from './Simulator.module.css';
import { speedText } from './speed';
import { useBoxClock, useIsOpen, useSteering } from './steering';

/** The one clock that all of the service goes by: what it says, and everything that moves it. */
export function ClockCard({ simulator }: { simulator: Simulator }) {
  const { now, speed } = useBoxClock(simulator);
  const zone = useZone();
  const isOpen = useIsOpen(simulator);
  const { steer, refusal } = useSteering(simulator);
  const toggle = () => void (isOpen && steer(speed === 0 ? run : hold));
  const pass = (seconds: number) => () => void (isOpen && steer(step(seconds)));
  useShortcuts('Clock', [
    { key: ' ', label: 'Space', does: 'Hold the clock, or let it run', run: toggle },
    { key: '.', does: 'Step by a second', run: pass(1) },
    { key: ',', does: 'Step by a minute', run: pass(60) },
  ]);
  return (
    <section className={styles.clock} aria-label="Clock">
      <div className={styles.reading}>
        <p className={styles.date}>
          {formatDate(now, zone)} <span>{formatZone(now, zone)}</span>
        </p>
        <time className={styles.time} dateTime={new Date(now * 1000).toISOString()}>
          {formatSeconds(now, zone)}
        </time>
        <div className={styles.running}>
          <button data-kind="primary" className={styles.toggle} onClick={toggle} title={`${speed === 0 ? 'Run' : 'Hold'} (Space)`}>
            <Icon name={speed === 0 ? 'play' : 'pause'} /> {speed === 0 ? 'Run' : 'Hold'}
          </button>
          <output aria-live="polite" data-held={speed === 0 || undefined}>{speedText(speed)}</output>
        </div>
      </div>
      <div className={styles.moves}>
        <ClockSpeed speed={speed} steer={steer} />
        <ClockStep steer={steer} />
        <ClockSet now={now} steer={steer} />
        {refusal && <Failure error={refusal.error} call={refusal.action} />}
      </div>
      <GuideDays now={now} steer={steer} />
    </section>
  );
}
