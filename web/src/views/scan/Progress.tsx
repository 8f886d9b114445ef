import type { ScanInfo } from '@ostrel/tv';
import { useClock } from '@ostrel/tv/react';
import { Icon } from '../../parts/Icon';
import { formatSpan } from '../../parts/time';
import { Band } from './Band';
import styles from './Scan.module.css';
import { countNew, type Group, secondsLeft, type Story } from './story';

const over: Readonly<Record<Story['plan'], string>> = {
  band: 'the whole band',
  transponders: 'the transponder list',
  unknown: '',
};

/** How long it still takes, in words. */
function leftText(story: Story, speed: number): string {
  if (speed === 0) return 'the clock stands still';
  const left = secondsLeft(story);
  return left === undefined ? '' : `${formatSpan(Math.ceil(left / speed))} left`;
}

function Counters({ info }: { info: ScanInfo | undefined }) {
  const { tvServices = 0, radioServices = 0, type3Services = 0 } = info ?? {};
  const counters = [
    ['Found', info === undefined ? 0 : countNew(info), ''],
    ['Television', tvServices, 'tv'],
    ['Radio', radioServices, 'radio'],
    ['Other', type3Services, 'other'],
  ] as const;
  return (
    <dl className={styles.counters}>
      {counters.map(([name, value, kind]) => (
        <div key={name} data-kind={kind || undefined}>
          <dt>{name}</dt>
          <dd>{value}</dd>
        </div>
      ))}
    </dl>
  );
}

interface HeadProps {
  /** Undefined when there was no scan yet. */
  info: ScanInfo | undefined;
  story: Story;
  /** The button that starts or stops. */
  main: React.Ref<HTMLButtonElement>;
  onStart: (over: 'band' | 'transponders') => void;
  onStop: () => void;
}

/** What the scan is doing, in a word. */
function titleOf(info: ScanInfo | undefined): string {
  if (info === undefined) return 'No scan yet';
  if (info.scanning) return 'Scanning';
  return info.progress === 100 ? 'Done' : `Stopped at ${info.progress} %`;
}

/** How far the scan has got, and what starts and stops it: it stays in reach. */
export function Head({ info, story, main, onStart, onStop }: HeadProps) {
  const { speed } = useClock(60);
  const isRunning = info?.scanning === true;
  const details = info === undefined
    ? 'Nothing has been searched since the start.'
    : [isRunning && titleOf(info), over[story.plan], isRunning && leftText(story, speed)].filter(Boolean).join(' · ');
  return (
    <header className={styles.head}>
      <div className={styles.state}>
        <strong>{isRunning ? `${info.progress} %` : titleOf(info)}</strong>
        <span>{details}</span>
      </div>
      <div className={styles.buttons}>
        <button ref={main} data-kind="primary" onClick={isRunning ? onStop : () => onStart('band')}>
          <Icon name={isRunning ? 'stop' : 'scan'} size={16} /> {isRunning ? 'Stop' : 'Scan the band'}
        </button>
        {!isRunning && <button onClick={() => onStart('transponders')}>Scan the transponder list</button>}
      </div>
      <progress max={100} value={info?.progress ?? 0} aria-label="Scan progress" />
    </header>
  );
}

interface ProgressProps {
  info: ScanInfo | undefined;
  story: Story;
  groups: readonly Group[];
}

/** The band, as far as it has been searched, and what was found. */
export function Progress({ info, story, groups }: ProgressProps) {
  const isRunning = info?.scanning === true;
  return (
    <section className={styles.progress} aria-label="Progress">
      <Band groups={groups} percent={info?.progress} plan={story.plan} isRunning={isRunning} />
      <Counters info={info} />
      <p className="visually-hidden" role="status">
        {info !== undefined && `${isRunning ? 'Scanning' : titleOf(info)}: ${countNew(info)} services found${isRunning ? ' so far' : ''}`}
      </p>
    </section>
  );
}
