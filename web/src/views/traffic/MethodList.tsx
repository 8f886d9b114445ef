import { useEffect, useRef } from 'react';
import { navigate } from '../../app/route';
import { addressOf } from './calls';
import styles from './CallDesk.module.css';
import type { Described } from './useDescription';
import { useIsNarrow } from './useIsNarrow';

interface Group {
  owner: string;
  methods: readonly string[];
}

/** Methods by their interface. */
function groupsOf(servers: readonly Described[]): Group[] {
  const groups = new Map<string, string[]>();
  for (const { name } of servers.flatMap(({ methods }) => methods)) {
    const owner = name.split('::')[0]!;
    groups.set(owner, [...(groups.get(owner) ?? []), name]);
  }
  return [...groups].map(([owner, methods]) => ({ owner, methods }));
}

const shortName = (method: string) => method.split('::').at(-1)!;

/** All methods to choose from. */
export function MethodList({ servers, current }: { servers: readonly Described[]; current: string }) {
  const isNarrow = useIsNarrow();
  const list = useRef<HTMLElement>(null);
  useEffect(() => void list.current?.querySelector('[aria-current]')?.scrollIntoView({ block: 'nearest' }), [current, isNarrow]);
  const groups = groupsOf(servers);
  if (isNarrow)
    return (
      <select className={styles.chooser} aria-label="Method" value={current} onChange={(event) => navigate(addressOf(event.target.value), { replace: true })}>
        {groups.map(({ owner, methods }) => (
          <optgroup key={owner} label={owner}>
            {methods.map((method) => <option key={method} value={method}>{shortName(method)}</option>)}
          </optgroup>
        ))}
      </select>
    );
  return (
    <nav ref={list} className={styles.methods} aria-label="Methods">
      {groups.map(({ owner, methods }) => (
        <section key={owner}>
          <h3>{owner}</h3>
          <ul>
            {methods.map((method) => (
              <li key={method}>
                <a href={addressOf(method)} aria-current={method === current ? 'true' : undefined}>{shortName(method)}</a>
              </li>
            ))}
          </ul>
        </section>
      ))}
    </nav>
  );
}
