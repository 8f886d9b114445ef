import { useNowNext } from '@ostrel/tv/react';
import { useZone } from '../../app/settings';
import { formatRoute } from '../../app/route';
import { CopyAs } from '../../parts/CopyAs';
import { Dialog } from '../../parts/Dialog';
import { useGenreTexts } from '../../parts/genre';
import { formatDay, formatLocal, formatSpan, formatTime } from '../../parts/time';
import { Tile } from '../../parts/Tile';
import type { Card } from './cards';
import styles from './Details.module.css';

/** All that the service says of what is on. */
export function Details({ card: { service, event }, onClose }: { card: Card; onClose: () => void }) {
  const zone = useZone();
  const genres = useGenreTexts();
  const { next } = useNowNext(service.id).data ?? {};
  const facts: [string, string | undefined][] = [
    ['When', `${formatDay(event.startTime, zone)}, ${formatTime(event.startTime, zone)}–${formatTime(event.endTime, zone)}, ${formatSpan(event.endTime - event.startTime)}`],
    ['Genre', genres.get(event.genres[0] ?? 0)],
    ['Picture', event.highDefinition || service.highDefinition ? 'High definition' : undefined],
    ['Next', next && next.startTime > event.startTime ? `${formatTime(next.startTime, zone)} ${next.title}` : undefined],
  ];
  return (
    <Dialog title={event.title || 'Untitled'} onClose={onClose}
      actions={<a className="button" href={formatRoute('guide', { at: formatLocal(event.startTime, zone), channel: String(service.channelNumber) })}>In the guide</a>}>
      <p className={styles.service}>
        <Tile name={service.name} size={24} /> {service.channelNumber} {service.name}
      </p>
      {event.description && <p dir="auto">{event.description}</p>}
      <dl className={styles.facts}>
        {facts.map(([name, value]) => value !== undefined && (
          <div key={name}>
            <dt>{name}</dt>
            <dd>{value}</dd>
          </div>
        ))}
      </dl>
      <CopyAs call={{ method: 'ITVGuide::queryNowNextEventInfo', payload: { id: service.id } }} />
    </Dialog>
  );
}
