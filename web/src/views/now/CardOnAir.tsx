import type { EventInfo } from '@ostrel/tv';
import { useClock, useNowNext } from '@ostrel/tv/react';
import { memo } from 'react';
import { useZone } from '../../app/settings';
import { kindColour, kindWord } from '../../parts/genre';
import { Icon } from '../../parts/Icon';
import { serviceType } from '../../parts/services';
import { Shape } from '../../parts/Shape';
import { Tile } from '../../parts/Tile';
import { formatSpan, formatTime } from '../../parts/time';
import styles from './Card.module.css';
import { type Card, genreOf, minutesLeft, pace, partOver } from './cards';

/** How long an event still goes on: as a bar, which moves by itself, and in words. */
function Left({ event }: { event: EventInfo }) {
  const { now } = useClock(pace(event));
  return (
    <span className={styles.left}>
      <span className={styles.bar}>
        <span style={{ transform: `scaleX(${partOver(event, now)})` }} />
      </span>
      {formatSpan(minutesLeft(event, now) * 60)} left
    </span>
  );
}

/** What comes next. While the service is asked, what it said before is of the past. */
function Next({ event }: { event: EventInfo }) {
  const { data, state } = useNowNext(event.serviceId);
  const zone = useZone();
  const next = data?.next;
  const isLater = next !== undefined && next.startTime > event.startTime;
  const text = () => {
    if (state === 'failed') return <span>What is next is not known</span>;
    if (isLater) return (
      <>
        <span>Next {formatTime(next.startTime, zone)}</span> <b>{next.title}</b>
      </>
    );
    return state === 'loading' || next !== undefined ? <Shape width={160} height={12} /> : <span>Then off the air</span>;
  };
  return <span className={styles.next}>{text()}</span>;
}

interface CardOnAirProps {
  card: Card;
  place: number;
  column: number;
  isStop: boolean;
  onOpen: (card: Card) => void;
}

/** A service, and what is on. */
export const CardOnAir = memo(function CardOnAir({ card, place, column, isStop, onOpen }: CardOnAirProps) {
  const { service, event } = card;
  const zone = useZone();
  const genre = genreOf(event);
  const { icon, word } = serviceType(service.type);
  const [start, end] = [formatTime(event.startTime, zone), formatTime(event.endTime, zone)];
  return (
    <div className={styles.cell} role="gridcell" aria-colindex={column}>
      <button className={styles.card} style={{ '--genre': kindColour(genre) } as React.CSSProperties} data-place={place}
        tabIndex={isStop ? 0 : -1} aria-label={`${service.channelNumber} ${service.name}, ${start} to ${end}, ${event.title}`}
        onClick={() => onOpen(card)}>
        <span className={styles.service}>
          <Tile name={service.name} size={32} />
          <span className={styles.name}>{service.name}</span>
          <span className={styles.number}>{service.channelNumber}</span>
        </span>
        <span className={styles.title}>{event.title || 'Untitled'}</span>
        <span className={styles.facts}>
          <span>{start}–{end}</span>
          {genre !== 0 && <span>{kindWord(genre)}</span>}
          {(event.highDefinition || service.highDefinition) && <span className={styles.hd}>HD</span>}
          <span className={styles.kind}><Icon name={icon} size={16} /> {word}</span>
        </span>
        <Left event={event} />
        <Next event={event} />
      </button>
    </div>
  );
});
