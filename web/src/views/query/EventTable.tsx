import { useServices } from '@ostrel/tv/react';
import { memo, useMemo } from 'react';
import { useZone } from '../../app/settings';
import { kindColour, kindOf, kindWord } from '../../parts/genre';
import { formatDay, formatSpan, formatTime, type Zone } from '../../parts/time';
import styles from './EventTable.module.css';
import type { Found } from './found';
import results from './Results.module.css';
import { useRows } from './useRows';

const columns = ['Starts', 'Length', 'Service', 'Title', 'Genre'];

/** Events as a table, however many. */
export function EventTable({ found }: { found: Found }) {
  const { data } = useServices();
  const names = useMemo(() => new Map(data?.map(({ id, name }) => [id, name])), [data]);
  const zone = useZone();
  const { box, rows, onKeyDown } = useRows(found.count, 40);
  return (
    <div ref={box} className={results.scroll} role="table" aria-label="Events" aria-rowcount={found.count + 1} tabIndex={0} onKeyDown={onKeyDown}>
      <div role="rowgroup" className={styles.head}>
        <div role="row" aria-rowindex={1} className={styles.row}>
          {columns.map((name) => (
            <span key={name} role="columnheader" className={styles[name.toLowerCase()]}>
              {name}
            </span>
          ))}
        </div>
      </div>
      <div role="rowgroup" className={styles.rows} style={{ height: rows.getTotalSize() }}>
        {rows.getVirtualItems().map(({ index, start }) => (
          <div key={index} ref={rows.measureElement} data-index={index} role="row" aria-rowindex={index + 2} className={styles.row}
            style={{ transform: `translateY(${start}px)` }}>
            <Cells found={found} place={index} names={names} zone={zone} />
          </div>
        ))}
      </div>
    </div>
  );
}

interface CellsProps {
  found: Found;
  place: number;
  names: ReadonlyMap<number, string>;
  zone: Zone;
}

/** The cells of a row, which stay as they are while the table is scrolled. */
const Cells = memo(({ found, place, names, zone }: CellsProps) => {
  const row = found.row(place);
  if (row === undefined) return <code role="cell">{found.document(place).slice(0, 400)}</code>;
  const { serviceId, start, end, title, description, genre, isHd } = row;
  const name = names.get(serviceId);
  const kind = kindOf(genre);
  return (
    <>
      <span className={styles.edge} style={{ background: kindColour(kind) }} />
      <span role="cell" className={styles.starts} title={String(start)}>
        {formatDay(start, zone)} <b>{formatTime(start, zone)}</b>
      </span>
      <span role="cell" className={styles.length}>
        {formatSpan(end - start)}
      </span>
      <span role="cell" className={styles.service}>
        {name ?? serviceId} {name !== undefined && <small>{serviceId}</small>}
      </span>
      <span role="cell" className={styles.title} title={description}>
        <b>{title || 'No title'}</b>
        {isHd && <small className={styles.hd}>HD</small>} <span>{description}</span>
      </span>
      <span role="cell" className={styles.genre}>
        {kindWord(kind)}
      </span>
    </>
  );
});
