import type { ServiceInfo } from '@ostrel/tv';
import { memo } from 'react';
import { classes } from '../../parts/classes';
import { kindColour, kindOf, kindWord } from '../../parts/genre';
import { Tile } from '../../parts/Tile';
import { formatTime, type Seconds, type Zone } from '../../parts/time';
import { type Cell, eventBox, pixelOf, type Scale, type Span } from './cells';
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
}

interface RowProps {
  service: ServiceInfo;
  index: number;
  top: number;
  cells: readonly Cell[];
  /** The time that is selected, in this row. */
  selected: Seconds | undefined;
  /** The event on the air. */
  onAir: Cell | undefined;
  /** The first second in sight when the grid was last at rest: titles are cut so that they fit behind it. */
  edge: Seconds;
  /** Where the left edge may be until more is drawn: a title that it passes stays in sight. */
  pinned: Span;
  view: RowView;
}

export const cellId = (service: ServiceInfo, cell: Span): string => `guide-${service.id}-${cell.from}`;

const isIn = ({ from, to }: Span, time: Seconds | undefined): boolean => time !== undefined && from <= time && to > time;

/** Less than that does not hold a word. */
const narrow = 72;

/** Between neighbours. */
const gap = 2;

/** What a cell has beside its title: edge, spaces, gap. */
const frame = 20;

interface GridCellProps {
  service: ServiceInfo;
  cell: Cell;
  isSelected: boolean;
  isOnAir: boolean;
  isPast: boolean;
  isPinned: boolean;
  /** Pixels of it that are hidden behind the row's header. */
  hidden: number;
  view: RowView;
}

const GridCell = memo(function GridCell({ service, cell, isSelected, isOnAir, isPast, isPinned, hidden, view }: GridCellProps) {
  const { scale, days, zone, filter, geometry } = view;
  const { event } = cell;
  const { left, width } = eventBox(cell, scale, days);
  const isOut = isFiltering(filter) && (event === undefined || !fits(filter, service, event, isOnAir ? cell.from : -1));
  if (!isSelected && (width === 0 || (isOut && view.isOnlyMatches))) return null;
  const kind = kindOf(event?.genres[0]);
  const names = classes(styles.cell, isOnAir && styles.onAir, isPast && styles.past, isOut && styles.out, isSelected && styles.selected,
    isPinned && styles.pinned, width < narrow && styles.narrow);
  return (
    <div
      role="gridcell" id={cellId(service, cell)} aria-selected={isSelected} aria-label={cellLabel(service, cell, zone, isOnAir)}
      data-from={cell.from} data-kind={cell.kind} className={names}
      style={{ left: geometry.header + left, width: Math.max(1, width - gap), '--genre': kindColour(kind) } as React.CSSProperties}
    >
      {event === undefined ? cell.kind === 'gap' && width > narrow && <span className={styles.text}>No guide data</span> : (
        <span className={styles.text} style={{ maxWidth: Math.max(0, width - hidden - frame) }}
          data-meta={[formatTime(cell.from, zone), kindWord(kind)].filter(Boolean).join(' · ')}>
          {event.title || 'Untitled'}
        </span>
      )}
    </div>
  );
}, (a, b) =>
  isSameCell(a.cell, b.cell) && a.isSelected === b.isSelected && a.isOnAir === b.isOnAir && a.isPast === b.isPast && a.isPinned === b.isPinned &&
  a.hidden === b.hidden && a.view === b.view && a.service === b.service);

interface RowHeaderProps {
  service: ServiceInfo;
  top: number;
  /** When the event on the air began, in seconds of the grid. */
  from: number | undefined;
  length: number;
  view: RowView;
}

const headerId = (service: ServiceInfo): string => `guide-${service.id}`;

/** Who broadcasts a row. It stands in a column of its own, which sticks as a whole, and belongs to its row by name. */
export const RowHeader = memo(function RowHeader({ service, top, from, length, view }: RowHeaderProps) {
  return (
    <div role="rowheader" id={headerId(service)} className={classes(styles.rowHeader, !fitsService(view.filter, service) && styles.out)}
      style={{ top, height: view.geometry.row }} title={service.name}>
      <span className={styles.number}>{service.channelNumber}</span>
      <Tile name={service.name} size={view.geometry.tile} />
      <span className={styles.name}>{service.name}</span>
      {from !== undefined && <i className={styles.progress} style={{ '--from': from, '--length': length } as React.CSSProperties} />}
    </div>
  );
});

/** A service and what it shows. Drawn anew only when that changes, or what all rows have in common. */
export const Row = memo(function Row({ service, index, top, cells, selected, onAir, edge, pinned, view }: RowProps) {
  const { scale, geometry } = view;
  const hiddenOf = ({ from, to }: Cell) => (from < edge && to > edge ? pixelOf(edge, scale) - pixelOf(from, scale) : 0);
  return (
    <div role="row" aria-rowindex={index + 1} aria-owns={headerId(service)} className={styles.row} style={{ top, height: geometry.row }}>
      {cells.map((cell) => (
        <GridCell key={cell.from} service={service} cell={cell} view={view} hidden={hiddenOf(cell)}
          isSelected={isIn(cell, selected)} isOnAir={cell.kind === 'event' && cell.from === onAir?.from} isPast={onAir !== undefined && cell.to <= onAir.from}
          isPinned={cell.from < pinned.to && cell.to > pinned.from} />
      ))}
    </div>
  );
}, isSameRow);

const isSameCell = (a: Cell, b: Cell): boolean =>
  a.from === b.from && a.to === b.to && a.kind === b.kind && a.event === b.event;

function isSameRow(a: RowProps, b: RowProps): boolean {
  return (
    a.service === b.service && a.index === b.index && a.top === b.top && a.view === b.view && a.selected === b.selected &&
    a.edge === b.edge && a.pinned === b.pinned && a.onAir?.from === b.onAir?.from && a.onAir?.to === b.onAir?.to &&
    a.cells.length === b.cells.length && a.cells.every((cell, i) => isSameCell(cell, b.cells[i]!))
  );
}
