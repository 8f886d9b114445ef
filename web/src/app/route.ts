import { useCallback, useSyncExternalStore } from 'react';

export const views = ['guide', 'now', 'channels', 'scan', 'query', 'traffic', 'simulator'] as const;
export type View = (typeof views)[number];

/** What the page shows: a view, and what it keeps in the address so that a link shows another person the same. */
export interface Route {
  view: View;
  params: URLSearchParams;
}

/** Reads a fragment such as `#/guide?at=2011-10-16T12:00&genre=movie`. One that is none leads to the guide. */
export function parseRoute(fragment: string): Route {
  const [path = '', query = ''] = fragment.replace(/^#\/?/, '').split(/\?(.*)/s);
  const view = views.find((name) => name === path);
  return { view: view ?? 'guide', params: new URLSearchParams(view === undefined ? '' : query) };
}

/** Writes a fragment; parameters that are undefined or empty are left out. */
export function formatRoute(view: View, params: Readonly<Record<string, string | undefined>> | URLSearchParams = {}): string {
  const pairs = params instanceof URLSearchParams ? [...params] : Object.entries(params);
  const query = new URLSearchParams();
  for (const [name, value] of pairs) if (value) query.append(name, value);
  // What no address needs escaped stays legible.
  const text = query.toString().replace(/%(3A|2F|2C)/g, (escaped) => decodeURIComponent(escaped));
  return `#/${view}${text && `?${text}`}`;
}

const listeners = new Set<() => void>();
let route: Route = parseRoute(location.hash);
const read = () => route;

function look(): void {
  route = parseRoute(location.hash);
  for (const listener of [...listeners]) listener();
}
addEventListener('hashchange', look);

function listen(listener: () => void): () => void {
  listeners.add(listener);
  return () => listeners.delete(listener);
}

/** Goes to another address. @param replace  Back does not lead to the one that is left */
export function navigate(fragment: string, { replace = false } = {}): void {
  if (fragment === location.hash) return;
  history[replace ? 'replaceState' : 'pushState'](null, '', fragment);
  look();
}

export const useRoute = (): Route => useSyncExternalStore(listen, read, read);

/** A parameter of the view on show, empty where the address has none, and what changes it in place. */
export function useParam(name: string): [value: string, change: (value: string) => void] {
  const { params } = useRoute();
  const change = useCallback(
    (value: string) => {
      const changed = new URLSearchParams(route.params);
      changed.set(name, value);
      navigate(formatRoute(route.view, changed), { replace: true });
    },
    [name],
  );
  return [params.get(name) ?? '', change];
}
