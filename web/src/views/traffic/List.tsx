import { useVirtualizer } from '@tanstack/react-virtual';
import { type KeyboardEvent, type MouseEvent, type Ref, useImperativeHandle, useLayoutEffect, useRef, useState } from 'react';
import { useZone } from '../../app/settings';
import { useIsNarrow } from './useIsNarrow';
import styles from './List.module.css';
import { Row, rowId } from './Row';
import type { Selection } from './Selection';
import type { Entry } from './TrafficLog';

/** What others may have the list do. */
export interface ListHandle {
  focus: () => void;
}

interface ListProps {
  selection: Selection;
  open: Entry | undefined;
  /** Whether the newest is to stay in sight. */
  isFollowing: boolean;
  /** The viewer reads, and the list is to stand still; or is at the end again. */
  onReading: (isReading: boolean) => void;
  onOpen: (entry: Entry | undefined) => void;
  handle: Ref<ListHandle>;
}

/** Below what is chosen, for the button that leads to the end, in pixels. */
const room = 48;

/** Where a key leads from a place; undefined where it leads nowhere. */
function goal(key: string, from: number, count: number, page: number): number | undefined {
  const to = { ArrowDown: from + 1, ArrowUp: from - 1, PageDown: from + page, PageUp: from - page, Home: 0, End: count - 1 }[key];
  if (to === undefined || count === 0) return undefined;
  const kept = Math.min(Math.max(to, 0), count - 1);
  return kept === from && key.startsWith('Arrow') ? undefined : kept;
}

/** The entries, newest at the bottom. One tab stop; the arrow keys choose one, Enter opens it. */
export function List({ selection, open, isFollowing, onReading, onOpen, handle }: ListProps) {
  const { entries } = selection;
  const box = useRef<HTMLDivElement>(null);
  const isNarrow = useIsNarrow();
  const [rowHeight, headHeight] = isNarrow ? [56, 0] : [28, 32];
  const zone = useZone();
  const [active, choose] = useState<number>(); // the number of an entry
  const virtual = useVirtualizer({
    count: entries.length,
    getScrollElement: () => box.current,
    estimateSize: () => rowHeight,
    overscan: 6,
    scrollMargin: headHeight,
  });
  useLayoutEffect(() => virtual.measure(), [virtual, rowHeight]);
  useLayoutEffect(() => {
    if (isFollowing && box.current !== null) box.current.scrollTop = box.current.scrollHeight;
  });
  const at = active === undefined ? -1 : selection.indexOf(active);
  /** Brings a row into sight, by no more than that takes. */
  const show = (index: number) => {
    const { scrollTop, clientHeight } = box.current!;
    const top = index * rowHeight;
    const bottom = top + rowHeight + headHeight + room;
    if (top < scrollTop) box.current!.scrollTop = top;
    else if (bottom > scrollTop + clientHeight) box.current!.scrollTop = bottom - clientHeight;
  };
  useLayoutEffect(() => {
    if (open !== undefined && at >= 0) show(at); // the details have taken some of the place
  }, [open === undefined]);
  useImperativeHandle(handle, () => ({ focus: () => box.current?.focus() }));

  const onScroll = () => {
    const { scrollTop, scrollHeight, clientHeight } = box.current!;
    onReading(scrollHeight - scrollTop - clientHeight > rowHeight);
  };
  const onKeyDown = (event: KeyboardEvent) => {
    if (event.altKey || event.ctrlKey || event.metaKey) return;
    if (event.key === 'Enter' && at >= 0) return onOpen(entries[at]);
    const from = at >= 0 ? at : event.key === 'ArrowDown' ? -1 : entries.length;
    const to = goal(event.key, from, entries.length, Math.max(1, Math.floor(box.current!.clientHeight / rowHeight) - 2));
    if (to === undefined) return;
    event.preventDefault();
    onReading(to < entries.length - 1);
    choose(entries[to]!.number);
    show(to);
    if (open !== undefined) onOpen(entries[to]);
  };
  const onClick = (event: MouseEvent) => {
    const row = (event.target as Element).closest('[data-index]');
    const entry = row === null ? undefined : entries[Number(row.getAttribute('data-index'))];
    if (entry === undefined) return;
    choose(entry.number);
    onOpen(entry);
  };

  const rows = virtual.getVirtualItems().filter(({ index }) => index < entries.length);
  const isActiveThere = rows.some(({ index }) => entries[index]!.number === active);
  return (
    <div ref={box} className={styles.list} role="grid" aria-label="Traffic" aria-rowcount={entries.length + 1} tabIndex={0}
      aria-activedescendant={isActiveThere ? rowId(active!) : undefined} onScroll={onScroll} onKeyDown={onKeyDown} onClick={onClick}>
      <div className={styles.head} role="row" aria-rowindex={1}>
        {['Time', 'Client', 'Method', 'What was asked or told', 'Took', 'Request', 'Reply', 'Outcome'].map((name) => (
          <span key={name} role="columnheader">{name}</span>
        ))}
      </div>
      <div role="rowgroup" className={styles.rows} style={{ height: entries.length * rowHeight }}>
        {rows.map(({ index, start }) => {
          const entry = entries[index]!;
          return (
            <Row key={entry.number} entry={entry} version={entry.version} index={index} top={start - headHeight} zone={zone}
              isActive={entry.number === active} isOpen={entry === open} />
          );
        })}
      </div>
    </div>
  );
}
