import { useMemo } from 'react';
import { Topic, useTopic } from '../parts/Topic';
import { knownZone, type Zone } from '../parts/time';
import { useWorld } from './simulator';

export type Theme = 'system' | 'dark' | 'light';
/** Whose time is shown: that of those who broadcast, or the viewer's own. */
export type ZoneChoice = 'service' | 'viewer';

/** What this browser remembers; where it keeps nothing the page does until it is left. */
function remembered<T extends string>(name: string, values: readonly T[]): Topic<T> {
  const key = `ostrel.${name}`;
  const read = () => {
    try {
      return localStorage.getItem(key);
    } catch {
      return null;
    }
  };
  const topic = new Topic(values.find((value) => value === read()) ?? values[0]!);
  topic.listen(() => {
    try {
      localStorage.setItem(key, topic.get());
    } catch {}
  });
  return topic;
}

export const theme = remembered<Theme>('theme', ['system', 'dark', 'light']);
export const zoneChoice = remembered<ZoneChoice>('zone', ['service', 'viewer']);

/** Puts the theme on the document, now and whenever another is chosen. */
export function applyTheme(): void {
  const apply = () => (document.documentElement.dataset.theme = theme.get());
  theme.listen(apply);
  apply();
}

const viewerZone: Zone = knownZone(new Intl.DateTimeFormat().resolvedOptions().timeZone) ?? 'UTC';

/** The zone that the service's broadcasters live by. It is known from its simulator alone, and may have no name. */
export function useServiceZone(): Zone | undefined {
  const told = useWorld()?.timeZone;
  return useMemo(() => knownZone(told || undefined), [told]);
}

/** The zone that times are shown in. */
export function useZone(): Zone {
  const choice = useTopic(zoneChoice);
  const zone = useServiceZone();
  return choice === 'viewer' || zone === undefined ? viewerZone : zone;
}
