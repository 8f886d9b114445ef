import type { ServiceInfo } from '@ostrel/tv';
import { type RefObject, useState } from 'react';
import { kindColour, kindOf, kindWord, useGenreTexts } from '../../parts/genre';
import { formatDay, formatSpan, formatZone, type Seconds, type Zone } from '../../parts/time';
import type { Cell } from './cells';
import styles from './Details.module.css';
import { EpisodesDialog } from './EpisodesDialog';
import { seriesOf } from './episodes';
import { formatFromTo } from './labels';
import { QueryDialog, RawDialog } from './RawDialog';
import { useDocument } from './useDocument';

interface DetailsProps {
  panel: RefObject<HTMLElement | null>;
  service: ServiceInfo;
  cell: Cell;
  services: readonly ServiceInfo[];
  zone: Zone;
  now: Seconds;
  onGoTo: (serviceId: number, start: Seconds) => void;
  /** Leads back to the grid. */
  onLeave: () => void;
}

/** All about what is selected. */
export function Details({ panel, service, cell, services, zone, now, onGoTo, onLeave }: DetailsProps) {
  const { event } = cell;
  const programme = useDocument(event);
  const texts = useGenreTexts();
  const [open, setOpen] = useState<'raw' | 'query' | 'episodes'>();
  const code = event?.genres[0];
  const genre = code === undefined ? '' : (texts.get(code) ?? kindWord(kindOf(code)));
  const isOn = event !== undefined && event.startTime <= now && event.endTime > now;
  const close = () => setOpen(undefined);
  return (
    <section ref={panel} className={styles.details} aria-label="Selected programme"
      style={{ '--genre': kindColour(kindOf(code)) } as React.CSSProperties}
      onKeyDown={(key) => key.key === 'Escape' && !key.defaultPrevented && (key.preventDefault(), onLeave())}>
      <div className={styles.head}>
        <h2 dir="auto">{event ? event.title || 'Untitled' : cell.kind === 'unknown' ? service.name : 'No guide data'}</h2>
        <p className={styles.facts}>
          <span>{service.channelNumber} {service.name}</span>
          {event !== undefined && (
            <>
              <span>{formatDay(event.startTime, zone)}, {formatFromTo(event, zone)} {formatZone(event.startTime, zone)}</span>
              <span>{formatSpan(event.endTime - event.startTime)}</span>
              {isOn && <strong className={styles.onNow}>on now, {formatSpan(event.endTime - now)} left</strong>}
              {genre !== '' && <span className={styles.genre}>{genre}</span>}
              {(event.highDefinition || service.highDefinition) && <span className={styles.badge}>HD</span>}
              {programme !== undefined && seriesOf(programme) !== undefined && <span>series</span>}
              {programme?.Guidance && <span>{programme.Guidance}</span>}
            </>
          )}
        </p>
      </div>
      <p className={styles.synopsis} dir="auto">
        {event?.description ?? (cell.kind === 'gap' ? `${service.name} announces nothing for this time.` : '')}
      </p>
      {event !== undefined && (
        <div className={styles.actions}>
          <button onClick={() => setOpen('raw')}>Raw</button>
          <button onClick={() => setOpen('query')}>Copy query</button>
          <button disabled={programme === undefined || seriesOf(programme) === undefined} onClick={() => setOpen('episodes')}>
            Episodes
          </button>
        </div>
      )}
      {open === 'raw' && event && <RawDialog event={event} onClose={close} />}
      {open === 'query' && event && <QueryDialog event={event} onClose={close} />}
      {open === 'episodes' && programme && (
        <EpisodesDialog programme={programme} services={services} zone={zone} onClose={close}
          onGoTo={(serviceId, start) => (close(), onGoTo(serviceId, start))} />
      )}
    </section>
  );
}
