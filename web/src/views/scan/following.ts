import type { ServiceInfo, TvError } from '@ostrel/tv';
import { useScan, useServices } from '@ostrel/tv/react';
import type { Simulator } from '@ostrel/tv/simulator';
import { useCallback, useEffect, useMemo, useState } from 'react';
import { tv } from '../../app/service';
import { useSimulator } from '../../app/simulator';
import { tell } from '../../parts/done';
import { Topic, useTopic } from '../../parts/Topic';
import type { ScanAction } from './actions';
import { countNew, groupsOf, joined, noStory, type Place, placesOf, type Plan, type Story, storyIn, withSample } from './story';

const story = new Topic<Story>(noStory);

/** What this page has just asked for, until that is answered. */
let starting: Plan = 'unknown';

// Followed while the page is there, whatever view is on show.
tv.on('scanStart', () => story.set({ plan: starting, samples: [] }));
tv.on('resync', () => story.set(noStory));

/** How many of the latest messages are looked through for the start of a scan. */
const enough = 2000;

/** Finds out what a scan goes over that somebody else has started, where the simulator keeps what was said. */
async function recover(simulator: Simulator): Promise<void> {
  const own = story.get();
  const earlier = storyIn(await simulator.trafficGet({ last: enough }));
  const now = story.get();
  if (now.plan === 'unknown' && now.samples[0] === own.samples[0]) story.set(joined(earlier, now));
}

/** How long a scan may be silent before it is asked how it stands, in milliseconds: what tells of it can get lost. */
const patience = 3000;

/** Where services were found, as long as the page is there: a scan over the list does not tell it again. */
const located = new Map<string, Place>();

/** Where each of the services was found, by what this scan has told, or one before it. */
function locate(known: Story, services: readonly ServiceInfo[]): (Place | undefined)[] {
  return placesOf(known, services.length).map((place, number) => {
    const { uri } = services[number]!;
    const before = located.get(uri);
    if (place === undefined) return before;
    if (place.fromMHz === place.toMHz) located.set(uri, place);
    return before !== undefined && place.fromMHz <= before.fromMHz && before.toMHz <= place.toMHz ? before : place;
  });
}

/** The scan, what is known of it, and what it has found. */
export function useFollowedScan() {
  const scan = useScan();
  const found = useServices({ base: 'new' });
  const { data: info, reload } = scan;
  const all = useServices();
  const { data: services } = found;
  const known = useTopic(story);
  const { simulator } = useSimulator();
  const count = info === undefined ? 0 : countNew(info);
  const isRunning = info?.scanning === true;

  useEffect(() => {
    if (info !== undefined) story.set(withSample(story.get(), { percent: info.progress, count, at: tv.clock.now() }));
    else if (scan.state === 'ready') story.set(noStory);
  }, [info, count, scan.state]);
  const reloadLists = useCallback(() => (found.reload(), all.reload()), [found.reload, all.reload]);
  useEffect(reloadLists, [count, reloadLists]); // where the notification was lost
  // A reset ends a scan without a word, but sets the clock.
  useEffect(() => tv.on('clock', () => (reload(), reloadLists())), [reload, reloadLists]);
  useEffect(() => {
    if (!isRunning) return;
    const timer = setTimeout(reload, patience);
    return () => clearTimeout(timer);
  }, [isRunning, info, scan.state, reload]);
  const isStrange = info !== undefined && known.plan === 'unknown' && known.samples.length > 0;
  useEffect(() => {
    if (isStrange && simulator !== undefined) recover(simulator).catch(() => {}); // it stays unknown
  }, [isStrange, simulator]);

  const groups = useMemo(() => (services === undefined ? [] : groupsOf(services, locate(known, services))), [known, services]);
  return { scan, story: known, isRunning, count, groups, inList: all.data?.length, reloadLists };
}

/** Carries actions out; what is refused stays until the next one. */
export function useActions() {
  const [refusal, refuse] = useState<{ action: ScanAction; error: TvError }>();
  const act = async (action: ScanAction, plan: Plan = 'unknown'): Promise<boolean> => {
    starting = plan;
    try {
      await tv.call(action.method as string, action.payload);
      if (plan !== 'unknown') story.set({ plan, samples: [] }); // where the notification was lost
      refuse(undefined);
      tell(action);
      return true;
    } catch (error) {
      refuse({ action, error: error as TvError });
      return false;
    } finally {
      starting = 'unknown';
    }
  };
  return { act, refusal };
}
