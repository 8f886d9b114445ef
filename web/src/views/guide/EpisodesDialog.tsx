import { type Programme, type ServiceInfo, TvError } from '@ostrel/tv';
import { useTv } from '@ostrel/tv/react';
import { useEffect, useState } from 'react';
import { Dialog } from '../../parts/Dialog';
import { Failure } from '../../parts/Failure';
import { Shapes } from '../../parts/Shape';
import { formatDay, formatTime, type Seconds, type Zone } from '../../parts/time';
import styles from './Details.module.css';
import { episodesOf } from './episodes';

interface EpisodesDialogProps {
  programme: Programme;
  services: readonly ServiceInfo[];
  zone: Zone;
  onGoTo: (serviceId: number, start: Seconds) => void;
  onClose: () => void;
}

/** When else a series is on. */
export function EpisodesDialog({ programme, services, zone, onGoTo, onClose }: EpisodesDialogProps) {
  const tv = useTv();
  const [found, setFound] = useState<Programme[] | TvError>();
  useEffect(() => {
    const asking = new AbortController();
    episodesOf(tv, programme, asking.signal).then(setFound, (error: unknown) => error instanceof TvError && setFound(error));
    return () => asking.abort();
  }, [tv, programme]);
  const nameOf = (id: number) => services.find((service) => service.id === id)?.name ?? `Service ${id}`;
  const call = { method: 'ITVGuide::queryEventInfo', payload: { query: { stringList: [programme.Title] } } };
  return (
    <Dialog title={`${programme.Title}: episodes`} onClose={onClose}>
      {found === undefined ? <Shapes count={4} /> : found instanceof TvError ? <Failure error={found} call={call} /> : (
        <ul className={styles.episodes}>
          {found.map(({ ServiceId, Start, Description }) => (
            <li key={`${ServiceId} ${Start}`}>
              <button data-kind="quiet" aria-current={Start === programme.Start && ServiceId === programme.ServiceId || undefined}
                onClick={() => onGoTo(ServiceId, Start)}>
                <span className={styles.when}>{formatDay(Start, zone)}, {formatTime(Start, zone)} · {nameOf(ServiceId)}</span>
                <span>{Description}</span>
              </button>
            </li>
          ))}
        </ul>
      )}
    </Dialog>
  );
}
