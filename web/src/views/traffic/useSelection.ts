import { useEffect, useMemo, useRef, useState } from 'react';
import { useParam } from '../../app/route';
import { log, nameOf } from './feed';
import { type Filter, matcher, Selection } from './Selection';

/** Why the list stands still: somebody reads there, or has said so. */
export type Pause = '' | 'reading' | 'asked';

/** What somebody wants to see, as the address has it. */
export function useFilter(): Filter {
  const [text] = useParam('q');
  const [method] = useParam('method');
  const [client] = useParam('client');
  const [only] = useParam('only');
  return useMemo(() => ({ text, method, client, errorsOnly: only === 'errors' }), [text, method, client, only]);
}

/** Milliseconds between two pictures of a list that moves: nobody reads faster, and the machine has other things to do. */
const pace = 100;

/** The entries that match, kept up with what passes, in a frame's time where that is not often; while it is paused they stay as they are. */
export function useSelection(filter: Filter, isPaused: boolean): { selection: Selection; fresh: number; refresh: () => void } {
  const selection = useMemo(() => new Selection(log, matcher(filter, nameOf)), [filter]);
  const [, draw] = useState(0);
  const [fresh, setFresh] = useState(0);
  const refresh = useRef(() => {});
  refresh.current = () => {
    if (selection.update()) draw((n) => n + 1);
    setFresh(0);
  };
  useEffect(() => {
    let frame = 0;
    let drawn = -Infinity;
    const look = (now = performance.now()) => {
      if (now - drawn < pace) return void (frame = requestAnimationFrame(look));
      drawn = now;
      frame = 0;
      if (isPaused) setFresh(selection.countNew());
      else refresh.current();
    };
    const stop = log.listen(() => (frame ||= requestAnimationFrame(look)));
    look();
    return () => {
      stop();
      cancelAnimationFrame(frame);
    };
  }, [selection, isPaused]);
  return { selection, fresh, refresh: () => refresh.current() };
}
