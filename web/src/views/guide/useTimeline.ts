import { type RefObject, useCallback, useEffect, useLayoutEffect, useRef, useState } from 'react';
import type { Seconds } from '../../parts/time';
import { stepped } from './blocks';
import { pixelOf, type Scale, type Span, timeOf } from './cells';
import type { Geometry } from './geometry';

/** How long the grid lies still before it counts as at rest, in milliseconds. */
const rest = 120;

/** More than what is in sight is drawn, to whole half hours: there is nothing to do at most pixels. */
export const step = 1800;

export interface Timeline {
  /** What is drawn. */
  readonly drawn: Span;
  /** The first second in sight when the grid was last at rest. */
  readonly edge: Seconds;
  /** What is in sight now. */
  readonly shown: () => Span;
  /** Brings a time to the left edge. */
  readonly goTo: (from: Seconds) => void;
}

/**
 * Follows a scroller's window of time. The scroller is what scrolls; this only listens, and keeps the same time in sight
 * when the scale or the days change.
 *
 * @param width   of the scroller
 * @param days    what it holds
 * @param first   the time at the left edge to begin with
 * @param onRest  told what is in sight when scrolling has ended
 */
export function useTimeline(scroller: RefObject<HTMLElement | null>, width: number, scale: Scale, days: Span, geometry: Geometry, first: Seconds, onRest: (shown: Span) => void): Timeline {
  const from = useRef(first);
  const onRestNow = useRef(onRest);
  onRestNow.current = onRest;
  const length = Math.max(60, Math.round(((width - geometry.header) * 3600) / scale.pixelsPerHour));
  const shown = useCallback((): Span => ({ from: from.current, to: from.current + length }), [length]);
  const [drawn, draw] = useState(() => stepped(shown(), step));
  const [edge, setEdge] = useState(first);

  const look = useCallback(() => {
    const next = stepped(shown(), step);
    draw((last) => (last.from === next.from && last.to === next.to ? last : next));
  }, [shown]);

  useLayoutEffect(() => {
    if (scroller.current !== null) scroller.current.scrollLeft = pixelOf(from.current, scale);
    look();
  }, [scroller, scale, look]);

  useEffect(() => {
    const element = scroller.current;
    if (element === null) return;
    let timer = setTimeout(() => setEdge(from.current), rest); // after a change of scale, too
    const settle = () => {
      setEdge(from.current);
      onRestNow.current(shown());
    };
    const onScroll = () => {
      const pixel = Math.round(element.scrollLeft);
      // What was brought there to the second stays there: a pixel is several seconds.
      if (pixelOf(from.current, scale) !== pixel) from.current = timeOf(pixel, scale);
      look();
      clearTimeout(timer);
      timer = setTimeout(settle, rest);
    };
    // Before those who change the document in answer: then what is read here is at hand.
    element.addEventListener('scroll', onScroll, { passive: true, capture: true });
    return () => {
      clearTimeout(timer);
      element.removeEventListener('scroll', onScroll, { capture: true });
    };
  }, [scroller, scale, shown, look]);

  const goTo = useCallback((time: Seconds) => {
    // Within the days, as the scroller itself would have it; to ask it would cost a layout.
    from.current = Math.max(days.from, Math.min(time, days.to - length));
    if (scroller.current !== null) scroller.current.scrollLeft = pixelOf(from.current, scale);
    look();
  }, [scroller, scale, days, length, look]);

  return { drawn, edge, shown, goTo };
}
