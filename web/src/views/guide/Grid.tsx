import { useVirtualizer } from '@tanstack/react-virtual';
import { type KeyboardEvent, type MouseEvent, type RefObject, useLayoutEffect, useMemo } from 'react';
import { useShow } from '../../app/show';
import { formatTime } from '../../parts/time';
import { pixelOf, timeOf } from './cells';
import { daysIn } from './days';
import styles from './Guide.module.css';
import { cellsOf } from './known';
import { cellId, Row, RowHeader, type RowView } from './Row';
import { DayChooser, Ruler } from './Ruler';
import type { Filter } from './filter';
import type { GuideState } from './useGuide';
import { step } from './useTimeline';

interface GridProps {
  guide: GuideState;
  scroller: RefObject<HTMLDivElement | null>;
  grid: RefObject<HTMLDivElement | null>;
  filter: Filter;
  isOnlyMatches: boolean;
  onKeyDown: (event: KeyboardEvent) => void;
  /** Called when what is selected is chosen once more. */
  onOpen: () => void;
}

/** Rows drawn beyond those in sight, on each side. */
const overscan = 2;

/** Channels down, time to the right: one scroller in both directions, of which only what is in sight is drawn. */
export function Grid({ guide, scroller, grid, filter, isOnlyMatches, onKeyDown, onOpen }: GridProps) {
  const isShow = useShow();
  const { rows, row, time, now, days, scale, geometry, zone, drawn, edge, known } = guide;
  const virtual = useVirtualizer({
    count: rows.length,
    getScrollElement: () => scroller.current,
    estimateSize: () => geometry.row,
    scrollMargin: geometry.ruler,
    overscan,
  });
  useLayoutEffect(() => virtual.measure(), [virtual, geometry]);

  const view: RowView = useMemo(
    () => ({ scale, geometry, days, zone, filter, isOnlyMatches }),
    [scale, geometry, days, zone, filter, isOnlyMatches],
  );
  const starts = useMemo(() => daysIn(days, zone), [days, zone]);
  const dayAt = (at: number) => starts.filter((start) => start <= at).at(-1) ?? days.from;
  const width = geometry.header + pixelOf(days.to, scale);
  const isNowIn = now >= days.from && now < days.to;
  const sizes = {
    '--header': `${geometry.header}px`,
    '--ruler': `${geometry.ruler}px`,
    '--now': now - days.from,
    '--now-at': `${geometry.header + pixelOf(now, scale)}px`,
  } as React.CSSProperties;

  const pinned = useMemo(() => ({ from: drawn.from + step, to: drawn.from + 2 * step }), [drawn]);
  const drawnRows = virtual.getVirtualItems().flatMap(({ index, start }) => {
    const service = rows[index];
    if (service === undefined) return [];
    const cells = cellsOf(known, service.id, drawn);
    const onAir = cellsOf(known, service.id, { from: now, to: now + 1 }).find(({ kind }) => kind === 'event');
    return [{ service, index, top: start - geometry.ruler, cells, onAir, edge, pinned, selected: index === row ? time : undefined }];
  });
  const there = drawnRows.find(({ index }) => index === row);
  const selected = there?.cells.find(({ from, to }) => from <= time && to > time);

  const onClick = ({ target, clientX, clientY }: MouseEvent<HTMLDivElement>) => {
    const { left, top } = grid.current!.getBoundingClientRect();
    const index = Math.floor((clientY - top) / geometry.row);
    const isHeader = target instanceof Element && target.closest('[role=rowheader]') !== null;
    const at = isHeader ? time : timeOf(clientX - left - geometry.header, scale);
    if (rows[index] === undefined) return;
    grid.current?.focus({ preventScroll: true });
    if (index === row && selected !== undefined && at >= selected.from && at < selected.to) onOpen();
    else guide.select(index, isHeader && guide.isFollowing ? 'now' : at, { from: at, to: at });
  };

  return (
    <div ref={scroller} className={styles.scroller} style={sizes}>
      <div className={styles.ruler} style={{ width }}>
        <div className={styles.corner}>
          <DayChooser days={starts} day={dayAt((drawn.from + drawn.to) / 2)} today={dayAt(now)} zone={zone}
            onDay={guide.goToDay} onStep={(count) => guide.move(count < 0 ? '[' : ']')} />
        </div>
        <Ruler drawn={drawn} scale={scale} geometry={geometry} zone={zone} />
        {isNowIn && <span className={styles.nowMark} aria-hidden="true">{isShow ? formatTime(now, zone) : 'now'}</span>}
      </div>
      <div className={styles.body} style={{ width, height: rows.length * geometry.row }} onClick={onClick}>
        <div className={styles.headers}>
          {drawnRows.map(({ service, top, onAir }) => (
            <RowHeader key={service.id} service={service} top={top} view={view}
              from={onAir && onAir.from - days.from} length={onAir ? onAir.to - onAir.from : 0} />
          ))}
        </div>
        <div ref={grid} role="grid" aria-label="Programmes" aria-rowcount={rows.length} tabIndex={0}
          aria-activedescendant={there && selected && cellId(there.service, selected)}
          className={styles.grid} data-now={isNowIn || undefined} onKeyDown={onKeyDown}>
          {drawnRows.map((each) => <Row key={each.service.id} view={view} {...each} />)}
        </div>
      </div>
    </div>
  );
}
