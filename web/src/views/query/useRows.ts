import { useVirtualizer, type Virtualizer } from '@tanstack/react-virtual';
import { type KeyboardEvent, type RefObject, useRef } from 'react';

const steps: Readonly<Record<string, number>> = { ArrowDown: 1, ArrowUp: -1 };

/** Rows of which those in sight alone are drawn, in a box that arrow keys scroll until it ends. */
export function useRows(count: number, height: number): {
  box: RefObject<HTMLDivElement | null>;
  rows: Virtualizer<HTMLDivElement, Element>;
  onKeyDown: (event: KeyboardEvent<HTMLDivElement>) => void;
} {
  const box = useRef<HTMLDivElement>(null);
  const rows = useVirtualizer({ count, getScrollElement: () => box.current, estimateSize: () => height, overscan: 8 });
  const onKeyDown = (event: KeyboardEvent<HTMLDivElement>) => {
    const step = steps[event.key];
    if (step === undefined || event.target !== event.currentTarget) return;
    const before = event.currentTarget.scrollTop;
    event.currentTarget.scrollTop += step * height;
    if (event.currentTarget.scrollTop !== before) event.preventDefault();
  };
  return { box, rows, onKeyDown };
}
