import { memo } from 'react';
import { classes } from '../../parts/classes';
import type { Zone } from '../../parts/time';
import { nameOf } from './feed';
import { formatBytes, formatMoment, formatTook } from './format';
import { gist, isTrouble } from './message';
import { Badge } from './Badge';
import styles from './List.module.css';
import { type Entry, messageOf } from './TrafficLog';

export const rowId = (number: number): string => `traffic-${number}`;

interface RowProps {
  entry: Entry;
  /** That of the entry: it is changed in place. */
  version: number;
  top: number;
  index: number;
  isActive: boolean;
  isOpen: boolean;
  zone: Zone;
}

const owner = /^(\w+::)(.*)$/s;

/** One line: a call and what has become of it, or a notification. */
export const Row = memo(function Row({ entry, top, index, isActive, isOpen, zone }: RowProps) {
  const { kind, number, request, reply, outcome } = entry;
  const message = messageOf(entry);
  const common = { id: rowId(number), role: 'row', 'aria-rowindex': index + 2, 'data-index': index, style: { transform: `translateY(${top}px)` } };
  if (message === undefined)
    return (
      <div {...common} aria-selected={isActive} className={classes(styles.row, styles.gap)}>
        <span role="gridcell">{entry.text}</span>
      </div>
    );
  const [, scope = '', name = message.method || 'no request'] = owner.exec(message.method) ?? [];
  return (
    <div {...common} aria-selected={isActive} data-open={isOpen || undefined} data-trouble={isTrouble(outcome) || undefined}
      className={classes(styles.row, kind === 'notification' && styles.told)}>
      <span role="gridcell" className={styles.time}>{formatMoment(message.time, zone)}</span>
      <span role="gridcell" className={styles.client}>{nameOf(message) || 'to all'}</span>
      <span role="gridcell" className={styles.method}>
        <span className={styles.scope}>{scope}</span>
        {name}
      </span>
      <span role="gridcell" className={styles.gist}>{gist(message.text)}</span>
      <span role="gridcell" className={styles.took}>{reply !== undefined && kind === 'call' && formatTook(reply.micros)}</span>
      <span role="gridcell" className={styles.size}>{request !== undefined && formatBytes(request.bytes)}</span>
      <span role="gridcell" className={styles.size}>{reply !== undefined && formatBytes(reply.bytes)}</span>
      <span role="gridcell" className={styles.outcome}>
        <Badge entry={entry} />
      </span>
    </div>
  );
});
