import { defaultRangeExtractor, type Range } from '@tanstack/react-virtual';
import { type FocusEvent, type KeyboardEvent, type RefObject, useCallback, useLayoutEffect, useRef, useState } from 'react';

/** How things stand that one tab stop leads to: in rows of so many columns, of which so many are in sight. */
export interface Rows {
  count: number;
  columns: number;
  page: number;
}

/** Where a key leads from a place; undefined where that is nowhere, so that it may lead out. */
export function stepTo(key: string, from: number, { count, columns, page }: Rows): number | undefined {
  const column = from % columns;
  const last = count - 1;
  const down = (rows: number) => {
    const lastRow = Math.floor(last / columns);
    const row = Math.max(0, Math.min(lastRow, Math.floor(from / columns) + rows));
    return Math.min(last, row * columns + column);
  };
  const targets: Readonly<Record<string, () => number>> = {
    ArrowLeft: () => (column === 0 ? from : from - 1),
    ArrowRight: () => (column === columns - 1 ? from : Math.min(last, from + 1)),
    ArrowUp: () => down(-1),
    ArrowDown: () => down(1),
    PageUp: () => down(-page),
    PageDown: () => down(page),
    Home: () => 0,
    End: () => last,
  };
  const to = targets[key]?.();
  return to === from || count === 0 ? undefined : to;
}

/** What else stands between them has no place: -1. */
const placeOf = (target: EventTarget): number => Number((target as HTMLElement).dataset.place ?? -1);

interface RovingOptions {
  /** What stands where; the focus follows a thing to its new place. */
  ids: readonly number[];
  columns: number;
  page: number;
  /** Brings a place into sight. */
  scrollTo: (place: number) => void;
}

/**
 * Gives a list or grid one tab stop, and lets keys move it. Each thing that takes the focus carries its place as
 * `data-place`, and the tab stop alone a `tabIndex` of 0; that one must be drawn wherever the list is scrolled to.
 */
export function useRoving<E extends HTMLElement>(within: RefObject<E | null>, { ids, columns, page, scrollTo }: RovingOptions) {
  const [chosen, choose] = useState({ id: -1, place: 0 });
  const isWithin = useRef(false);
  const found = ids.indexOf(chosen.id);
  const place = Math.max(0, found < 0 ? Math.min(chosen.place, ids.length - 1) : found);
  const isMoved = useRef(false);
  const elementAt = (at: number) => within.current?.querySelector<HTMLElement>(`[data-place="${at}"]`);

  useLayoutEffect(() => {
    // What had the focus is gone: React tells of no blur then.
    const isLost = isWithin.current && document.activeElement === document.body;
    if (!isMoved.current && !isLost) return;
    isMoved.current = false;
    elementAt(place)?.focus({ preventScroll: true, focusVisible: true } as FocusOptions);
  });

  const go = (to: number) => {
    choose({ id: ids[to]!, place: to });
    scrollTo(to);
    isMoved.current = true;
  };
  return {
    place,
    go,
    handlers: {
      onKeyDown: (event: KeyboardEvent) => {
        if (placeOf(event.target) < 0 || event.altKey || event.ctrlKey || event.metaKey || event.shiftKey) return;
        const to = stepTo(event.key, place, { count: ids.length, columns, page });
        if (to === undefined) return;
        event.preventDefault();
        go(to);
      },
      onFocus: ({ target }: FocusEvent) => {
        const at = placeOf(target);
        isWithin.current = at >= 0;
        if (at >= 0) choose({ id: ids[at]!, place: at });
      },
      onBlur: () => {
        isWithin.current = false;
      },
    },
  };
}

/** Has a virtual list draw the item that holds the tab stop, too, wherever it is scrolled to. */
export const useRangeWith = (stop: number): ((range: Range) => number[]) =>
  useCallback((range: Range) => [...new Set([stop, ...defaultRangeExtractor(range)])].sort((a, b) => a - b), [stop]);
