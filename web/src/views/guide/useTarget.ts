import { useCallback, useEffect, useRef, useState } from 'react';
import { formatRoute, navigate, useRoute } from '../../app/route';
import { formatLocal, parseLocal, type Seconds, type Zone } from '../../parts/time';

/** What is selected, and where from. */
export interface Target {
  /** A time, or `now`: then it goes on by itself. */
  readonly time: Seconds | 'now';
  /** The channel's number; the first one where it is undefined. */
  readonly channel: number | undefined;
  /** Which service of that number, where the viewer has chosen it: several may share one. */
  readonly serviceId?: number | undefined;
}

interface TargetState extends Target {
  /** Changes whenever the address leads to another place than the view has told it. */
  readonly visit: number;
  /** Whether the address says so, and not the viewer. */
  readonly isTold: boolean;
  readonly select: (target: Target) => void;
  /** Has the address name a time and the channel; `now` takes the time out of it. */
  readonly write: (time: Seconds | 'now', channel: number | undefined) => void;
}

/** How long the address waits until the viewer has come to rest, in milliseconds: browsers count how often it changes. */
const pause = 250;

/** What is selected: what the address says, until the viewer moves; then the address follows. */
export function useTarget(zone: Zone): TargetState {
  const { params } = useRoute();
  const address = `${params.get('at') ?? ''} ${params.get('channel') ?? ''}`;
  const [own, setOwn] = useState<Target>();
  const written = useRef(address);
  const [visit, setVisit] = useState(0);
  if (written.current !== address) {
    written.current = address;
    setOwn(undefined);
    setVisit(visit + 1);
  }
  const timer = useRef<ReturnType<typeof setTimeout>>(undefined);
  useEffect(() => () => clearTimeout(timer.current), []);

  const write = useCallback((time: Seconds | 'now', channel: number | undefined) => {
    clearTimeout(timer.current);
    timer.current = setTimeout(() => {
      const changed = new URLSearchParams(location.hash.split(/\?(.*)/s)[1]);
      changed.delete('at');
      changed.delete('channel');
      const at = time === 'now' ? '' : formatLocal(time, zone);
      written.current = `${at} ${channel ?? ''}`;
      const place = new URLSearchParams({ at, channel: String(channel ?? '') });
      for (const [name, value] of changed) place.append(name, value);
      navigate(formatRoute('guide', place), { replace: true });
    }, pause);
  }, [zone]);

  const channel = Number(params.get('channel')) || undefined;
  const told: Target = { time: parseLocal(params.get('at') ?? '', zone) ?? 'now', channel };
  return { ...(own ?? told), visit, isTold: own === undefined, select: setOwn, write };
}
