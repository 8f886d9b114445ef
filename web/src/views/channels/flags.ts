import type { ServiceInfo } from '@ostrel/tv';
import type { IconName } from '../../parts/Icon';

/** What is to be said of a service beside its name, as words. */
export function flagsOf({ highDefinition, scrambled, visible, selectable }: ServiceInfo): (readonly [IconName, string])[] {
  const flags: (readonly [boolean, IconName, string])[] = [
    [highDefinition, 'hd', 'HD'],
    [scrambled, 'lock', 'scrambled'],
    [!visible, 'hidden', 'hidden'],
    [!selectable, 'barred', 'not selectable'],
  ];
  return flags.filter(([is]) => is).map(([, icon, word]) => [icon, word] as const);
}
