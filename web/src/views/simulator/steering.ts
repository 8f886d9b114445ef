import type { State, TvError } from '@ostrel/tv';
import { useClock } from '@ostrel/tv/react';
import type { Clock, Simulator, Weather } from '@ostrel/tv/simulator';
import { useCallback, useEffect, useRef, useState } from 'react';
import { tell } from '../../parts/done';
import type { Action } from './actions';

/** What has not come about, and why. */
export interface Refusal {
  action: Action;
  error: TvError;
}

export interface Steering {
  /** Carries an action out and tells of it; gives whether it came about. */
  steer: (action: Action) => Promise<boolean>;
  refusal: Refusal | undefined;
}

export function useSteering(simulator: Simulator): Steering {
  const [refusal, refuse] = useState<Refusal>();
  const steer = useCallback(
    async (action: Action) => {
      try {
        await simulator.call(action.method, action.payload);
      } catch (error) {
        refuse({ action, error: error as TvError });
        return false;
      }
      refuse(undefined);
      tell(action);
      return true;
    },
    [simulator],
  );
  return { steer, refusal };
}

/** Whether the simulator is connected. */
export function useIsOpen(simulator: Simulator): boolean {
  const [state, setState] = useState<State>(simulator.state);
  useEffect(() => {
    setState(simulator.state);
    return simulator.on('state', (change) => setState(change.state));
  }, [simulator]);
  return state === 'open';
}

/** What the simulator says of its clock, and when by `performance.now()`. */
interface Told {
  now: number;
  speed: number;
  at: number;
}

const reading = ({ now, speed, at }: Told) => now + (speed * (performance.now() - at)) / 1000;

/**
 * The service's clock, as the simulator tells it. The page's own clock is measured by calls, which the weather may hold
 * up or lose; while the two agree this is that one, so that all times on the page change at the same moment.
 */
export function useBoxClock(simulator: Simulator): { now: number; speed: number } {
  const own = useClock();
  const [told, setTold] = useState<Told>();
  const [, tick] = useState(0);
  useEffect(() => {
    const take = ({ now, speed }: Clock) => setTold({ now, speed, at: performance.now() });
    const ask = () => void simulator.clockGet().then(take, () => {}); // the next connection asks again
    if (simulator.state === 'open') ask();
    const stops = [simulator.on('clock', take), simulator.on('resync', ask)];
    return () => stops.forEach((stop) => stop());
  }, [simulator]);
  const agrees = told === undefined || (own.speed === told.speed && Math.abs(own.now - reading(told)) <= 2 * Math.max(own.speed, 1));
  const ticks = !agrees && told.speed > 0;
  useEffect(() => {
    if (!ticks) return;
    const timer = setInterval(() => tick((n) => n + 1), 250);
    return () => clearInterval(timer);
  }, [ticks]);
  return agrees ? own : { now: Math.floor(reading(told)), speed: told.speed };
}

/** How often the counts of rules are asked for while they are on show, in milliseconds: nobody tells of them. */
const pause = 1000;

/** The rules and what they have done so far; undefined until the simulator has said it. */
export function useWeather(simulator: Simulator): Weather | undefined {
  const [weather, setWeather] = useState<Weather>();
  const hasRules = weather !== undefined && weather.rules.length > 0;
  const ask = useCallback(() => void simulator.weatherGet().then(setWeather, () => {}), [simulator]); // asked again
  useEffect(() => {
    if (simulator.state === 'open') ask();
    const stops = [simulator.on('weather', setWeather), simulator.on('resync', ask)];
    return () => stops.forEach((stop) => stop());
  }, [simulator, ask]);
  useEffect(() => {
    if (!hasRules) return;
    const timer = setInterval(() => {
      if (simulator.state === 'open' && document.visibilityState === 'visible') ask();
    }, pause);
    return () => clearInterval(timer);
  }, [simulator, ask, hasRules]);
  return weather;
}

/**
 * Sends values that come faster than they are carried out, such as a slider's: one at a time, and of those that came
 * meanwhile the latest alone. Gives the value that is on its way, and what takes the next.
 */
export function useLatest<T>(send: (value: T) => Promise<unknown>): [onItsWay: T | undefined, push: (value: T) => void] {
  const [onItsWay, show] = useState<T>();
  const queue = useRef<{ isBusy: boolean; next: T[] }>({ isBusy: false, next: [] });
  const push = (value: T) => {
    queue.current.next = [value];
    show(value);
    if (queue.current.isBusy) return;
    queue.current.isBusy = true;
    void (async () => {
      for (let next = queue.current.next.pop(); next !== undefined; next = queue.current.next.pop()) await send(next);
      queue.current.isBusy = false;
      show(undefined);
    })();
  };
  return [onItsWay, push];
}
