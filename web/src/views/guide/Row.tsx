import type { ServiceInfo } from '@ostrel/tv';
import { memo } from 'react';
import { classes } from '../../parts/classes';
import { kindColour, kindOf, kindWord } from '../../parts/genre';
import { Tile } from '../../parts/Tile';
import { formatTime, type Seconds, type Zone } from '../../parts/time';
import { type Cell, eventBox, type Scale, type Span } from './cells';
import { type Filter, fits, fitsService, isFiltering } from './filter';
import type { Geometry } from './geometry';
import styles from './Guide.module.css';
import { cellLabel } from './labels';

/** What all rows have in common; one object until something of it changes. */
export interface RowView {
  readonly scale: Scale;
  readonly geometry: Geometry;
  readonly days: Span;
  readonly zone: Zone;
  readonly filter: Filter;
  readonly isOnlyMatches: boolean;
  /** The first second in sight when the grid was last at rest: titles are cut so that they fit behind it. */
  readonly edge: Seconds;
}

interface RowProps {
  service: ServiceInfo;
  index: number;
  top: number;
  cells: readonly Cell[];
  /** The time that is selected, in this row. */
  selected: Seconds | undefined;
  /** The event on the air begins then. */
  onAir: Cell | undefined;
  view: RowView;
}

export const cellId = (service: ServiceInfo, cell: Span): string => `guide-${service.id}-${cell.from}`;

/** Less than that does not hold a word. */
const narrow = 72;

/** Between neighbours. */
const gap = 2;

interface GridCellProps extends Omit<RowProps, 'cells' | 'top' | 'index'> {
  cell: Cell;
  column: number;
}

function GridCell({ service, cell, column, selected, onAir, view }: GridCellProps) {
  const { scale, days, zone, filter, edge, geometry } = view;
  const { left, width } = eventBox(cell, scale, days);
  const isSelected = selected !== undefined && cell.from <= selected && cell.to > selected;
  const isOnAir = cell.from === onAir?.from && cell.kind === 'event';
  const { event } = cell;
  const kind = kindOf(event?.genres[0]);
  const isOut = isFiltering(filter) && (event === undefined || !fits(filter, service, event, isOnAir ? cell.from : -1));
  if ((width === 0 && !isSelected) || (isOut && view.isOnlyMatches && !isSelected)) return null;
  const seen = cell.from < edge ? Math.round(((cell.to - edge) * scale.pixelsPerHour) / 3600) : width;
  return (
    <div
      role="gridcell" id={cellId(service, cell)} aria-colindex={column} aria-selected={isSelected}
      aria-label={cellLabel(service, cell, zone, isOnAir)} data-from={cell.from} data-kind={cell.kind}
      className={classes(styles.cell, isOnAir && styles.onAir, isOut && styles.out, isSelected && styles.selected,
        width < narrow && styles.narrow)}
      style={{ left: geometry.header + left, width: Math.max(1, width - gap), '--genre': kindColour(kind) } as React.CSSProperties}
    >
      {event === undefined ? cell.kind === 'gap' && width > narrow && <span className={styles.text}>No guide data</span> : (
        <span className={styles.text} style={{ maxWidth: Math.max(0, seen - 18) }}
          data-meta={[formatTime(cell.from, zone), kindWord(kind)].filter(Boolean).join(' · ')}>
          {event.title || 'Untitled'}
        </span>
      )}
    </div>
  );
}

function RowHeader({ service, onAir, view }: Pick<RowProps, 'service' | 'onAir' | 'view'>) {
  const { days, geometry, filter } = view;
  return (
    <div role="rowheader" aria-colindex={1} className={classes(styles.rowHeader, !fitsService(filter, service) && styles.out)}
      style={{ width: geometry.header }} title={service.name}>
      <span className={styles.number}>{service.channelNumber}</span>
      <Tile name={service.name} size={geometry.tile} />
      <span className={styles.name}>{service.name}</span>
      {onAir !== undefined && (
        <i className={styles.progress}
          style={{ '--from': onAir.from - days.from, '--length': onAir.to - onAir.from } as React.CSSProperties} />
      )}
    </div>
  );
}

/** A service and what it shows. Drawn anew only when that changes, or what all rows have in common. */
export const Row = memo(function Row({ service, index, top, cells, selected, onAir, view }: RowProps) {
  return (
    <div role="row" aria-rowindex={index + 1} className={styles.row} style={{ top, height: view.geometry.row }}>
      <RowHeader service={service} onAir={onAir} view={view} />
      {cells.map((cell, i) => (
        <GridCell key={cell.from} cell={cell} column={i + 2} service={service} selected={selected} onAir={onAir} view={view} />
      ))}
    </div>
  );
}, isSame);

function isSame(a: RowProps, b: RowProps): boolean {
  return (
    a.service === b.service && a.index === b.index && a.top === b.top && a.view === b.view && a.selected === b.selected &&
    a.onAir?.from === b.onAir?.from && a.onAir?.to === b.onAir?.to && a.cells.length === b.cells.length &&
    a.cells.every((cell, i) => isSameCell(cell, b.cells[i]!))
  );
}

const isSameCell = (a: Cell, b: Cell): boolean =>
  a.from === b.from && a.to === b.to && a.kind === b.kind && a.event === b.event;
