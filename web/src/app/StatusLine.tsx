import { useClock, useConnection } from '@ostrel/tv/react';
import { useEffect, useState } from 'react';
import { Icon } from '../parts/Icon';
import { formatDate, formatDay, formatSeconds, formatSpan, formatZone } from '../parts/time';
import { useTopic } from '../parts/Topic';
import { clockMark } from './clockMark';
import { theme, type Theme, useServiceZone, useZone, zoneChoice } from './settings';
import { useWorld } from './simulator';
import styles from './StatusLine.module.css';

function Clock() {
  const { now, speed } = useClock();
  const zone = useZone();
  const mark = clockMark(now, speed, Date.now() / 1000);
  return (
    <a href="#/simulator" className={styles.clock} title={`The service's time: ${formatDate(now, zone)}, in ${zone}`}>
      <span className={styles.day}>{formatDay(now, zone)}</span>
      <time className={styles.time}>{formatSeconds(now, zone)}</time>
      {mark && <span className={styles.mark} data-held={speed === 0 || undefined}>{mark}</span>}
    </a>
  );
}

/** Says in whose zone times are shown, and changes it where another than the viewer's is known. */
function ZoneChooser() {
  const choice = useTopic(zoneChoice);
  const isKnown = useServiceZone() !== undefined;
  const zone = useZone();
  const { now } = useClock(60);
  const isService = choice === 'service' && isKnown;
  const text = `Times are shown in ${isService ? "the service's zone" : 'your zone'}, ${zone}`;
  return (
    <button className={styles.zone} disabled={!isKnown} title={text} aria-label={text}
      onClick={() => zoneChoice.set(isService ? 'viewer' : 'service')}>
      {formatZone(now, zone)}
      <span>{isService ? 'service' : 'mine'}</span>
    </button>
  );
}

function Connection({ wasThere }: { wasThere: boolean }) {
  const { state, retryAt, reason } = useConnection();
  const [ticks, tick] = useState(0);
  useEffect(() => {
    if (state !== 'waiting') return;
    const timer = setInterval(() => tick((n) => n + 1), 500);
    return () => {
      clearInterval(timer);
      tick(0);
    };
  }, [state]);
  const left = (retryAt ?? 0) - Date.now();
  const words = {
    open: 'connected',
    connecting: wasThere ? 'no answer' : 'connecting',
    waiting: left < 500 ? 'no answer' : `reconnecting in ${formatSpan(Math.ceil(left / 1000))}`,
    closed: 'no answer',
  };
  return (
    <span className={styles.connection} data-state={state} role="status" title={reason}
      aria-live={ticks > 0 ? 'off' : 'polite' /* not every second is told */}>
      {words[state]}
    </span>
  );
}

const nextTheme: Readonly<Record<Theme, Theme>> = { system: 'dark', dark: 'light', light: 'system' };

/** The service's time, how the connection stands, and what is received; what the viewer chooses for all views. */
export function StatusLine({ title, onKeys }: { title: string; onKeys: () => void }) {
  const world = useWorld();
  const chosen = useTopic(theme);
  const [wasThere, setWasThere] = useState(false);
  if (useConnection().state === 'open' && !wasThere) setWasThere(true);
  return (
    <header className={styles.line}>
      <h1>{title}</h1>
      <div className={styles.status}>
        {world !== undefined && (
          <span className={styles.world} title={`${world.services} services, ${world.events} events${world.today ? ', laid around today' : ''}`}>
            World: {world.name}{world.today && ', today'}
          </span>
        )}
        <Connection wasThere={wasThere} />
        {wasThere && <Clock />}
        {wasThere && <ZoneChooser />}
        <button data-kind="quiet" className={styles.button} onClick={() => theme.set(nextTheme[chosen])}
          aria-label={`Colours: ${chosen}`} title={`Colours: ${chosen}`}>
          <Icon name={chosen === 'system' ? 'system' : chosen} />
        </button>
        <button data-kind="quiet" className={styles.button} onClick={onKeys} data-keys aria-label="All keys" title="All keys (?)">
          <Icon name="help" />
        </button>
      </div>
    </header>
  );
}
