import type { ServiceInfo } from '@ostrel/tv';
import { memo } from 'react';
import { Icon } from '../../parts/Icon';
import { serviceType } from '../../parts/services';
import { Tile } from '../../parts/Tile';
import { flagsOf } from './flags';
import styles from './Table.module.css';

interface RowProps {
  service: ServiceInfo;
  place: number;
  top: number;
  isStop: boolean;
  isStill: boolean;
  mark: 'read' | 'got' | undefined;
  onSeek: (place: number) => void;
}

/** A service of the list; its place leads the cursor there. */
export const Row = memo(function Row({ service, place, top, isStop, isStill, mark, onSeek }: RowProps) {
  const { icon: kindIcon, word: kind } = serviceType(service.type);
  return (
    <div className={styles.row} role="row" aria-rowindex={place + 2} data-mark={mark} style={{ transform: `translateY(${top}px)` }}>
      <span role="gridcell" className={styles.place}>
        <button data-kind="quiet" data-place={place} tabIndex={isStop ? 0 : -1} aria-disabled={isStill}
          aria-label={`Place ${place}, ${service.channelNumber} ${service.name}${mark ? `, ${mark}` : ''}`} title="Move the cursor before it"
          onClick={() => !isStill && onSeek(place)}>
          {place}
        </button>
        {mark !== undefined && <small>{mark}</small>}
      </span>
      <span role="gridcell" className={styles.number}>{service.channelNumber}</span>
      <span role="gridcell" className={styles.name}>
        <Tile name={service.name} size={28} />
        <b title={service.name}>{service.name}</b>
      </span>
      <span role="gridcell" className={styles.kind}><Icon name={kindIcon} size={16} /> {kind}</span>
      <span role="gridcell" className={styles.uri}><code>{service.uri}</code></span>
      <span role="gridcell" className={styles.id}>{service.id}</span>
      <span role="gridcell" className={styles.provider}>{service.provider}</span>
      <span role="gridcell" className={styles.flags}>
        {flagsOf(service).map(([icon, word]) => (
          <span key={word}><Icon name={icon} size={16} /> {word}</span>
        ))}
      </span>
    </div>
  );
});
