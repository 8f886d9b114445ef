import type { ServiceInfo } from '@ostrel/tv';
import { useVirtualizer } from '@tanstack/react-virtual';
import { memo, useEffect, useRef } from 'react';
import { Shape } from '../../parts/Shape';
import { useRangeWith, useRoving } from '../../parts/roving';
import { useSize } from '../../parts/useSize';
import { CursorLine } from './CursorLine';
import { Row } from './Row';
import styles from './Table.module.css';
import { Why } from './Why';

/** Services that the latest operation has given. */
export interface Marked {
  from: number;
  count: number;
  /** Whether the cursor went behind them. */
  moves: boolean;
}

interface TableProps {
  services: readonly ServiceInfo[];
  /** Where the cursor stands; undefined where it is in no list, or another. */
  position: number | undefined;
  marked: Marked | undefined;
  /** Nobody can be asked. */
  isStill: boolean;
  onSeek: (place: number) => void;
}

const head = 32;
const above = head + 12; // what stands before the first row, with room for the cursor's handle
const narrowest = 720; // for all columns beside each other

/** A list as it stands, of which the rows on show alone are drawn, and the cursor as a line before the service at it. */
export const Table = memo(function Table({ services, position, marked, isStill, onSeek }: TableProps) {
  const ref = useRef<HTMLDivElement>(null);
  const size = useSize(ref);
  const isNarrow = size.width < narrowest;
  const height = isNarrow ? 60 : 40;
  const roving = useRoving(ref, {
    ids: services.map(({ id }) => id),
    columns: 1,
    page: Math.max(1, Math.floor((size.height - head) / height)),
    scrollTo: (place) => rows.scrollToIndex(place),
  });
  const stop = roving.place;
  const rows = useVirtualizer({
    count: services.length,
    getScrollElement: () => ref.current,
    estimateSize: () => height,
    overscan: 4,
    paddingStart: above,
    paddingEnd: 16,
    scrollPaddingStart: above,
    scrollPaddingEnd: 2 * height,
    rangeExtractor: useRangeWith(stop),
  });
  useEffect(() => rows.measure(), [height]);
  useEffect(() => {
    if (position === undefined) return;
    if (position >= services.length) rows.scrollToOffset(rows.getTotalSize());
    else rows.scrollToIndex(position);
  }, [position, isNarrow]);
  return (
    <div ref={ref} className={styles.scroll} role="grid" aria-label="Services" aria-rowcount={services.length + 1}
      data-narrow={isNarrow || undefined} {...roving.handlers}>
      <div className={styles.all} role="presentation" style={{ height: rows.getTotalSize() }}>
        <div className={styles.head} role="row" aria-rowindex={1}>
          <span role="columnheader">Place</span>
          <span role="columnheader">No.</span>
          <span role="columnheader">Service</span>
          <span role="columnheader">Kind</span>
          <span role="columnheader">URI <Why of={['uri']} /></span>
          <span role="columnheader">Guide id <Why of={['id']} /></span>
          <span role="columnheader">Provider</span>
          <span role="columnheader">Flags</span>
        </div>
        {rows.getVirtualItems().map(({ index, start }) => (
          <Row key={index} service={services[index]!} place={index} top={start} isStop={index === stop} isStill={isStill} onSeek={onSeek}
            mark={marked === undefined || index < marked.from || index >= marked.from + marked.count ? undefined : marked.moves ? 'read' : 'got'} />
        ))}
        {position !== undefined && <CursorLine position={position} count={services.length} top={above + Math.min(position, services.length) * height} />}
      </div>
    </div>
  );
});

/** The shape of the table, while it is on its way. */
export function TableShape() {
  return (
    <div className={styles.shape}>
      {Array.from({ length: 24 }, (_, i) => (
        <div key={i}>
          <Shape width={28} height={28} />
          <Shape width={`${30 + ((i * 17) % 40)}%`} height={16} />
          <Shape width={120} height={12} />
        </div>
      ))}
    </div>
  );
}
