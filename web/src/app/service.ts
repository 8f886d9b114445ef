import { Tv } from '@ostrel/tv';

const kept = 'ostrel.token';

/** Takes a token out of a fragment, `#token=…` alone or among what a view keeps there. */
export function takeToken(fragment: string): { token: string | undefined; rest: string } {
  const found = /(^#|[?&])token=([\w-]+)&?/.exec(fragment);
  if (found === null) return { token: undefined, rest: fragment };
  const rest = (fragment.slice(0, found.index) + found[1] + fragment.slice(found.index + found[0].length)).replace(/[#?&]$/, '');
  return { token: found[2], rest };
}

/** The token that is kept for this tab. One that the address brings replaces it, and leaves the address. */
function readToken(): string | undefined {
  const { token, rest } = takeToken(location.hash);
  if (token !== undefined) {
    sessionStorage.setItem(kept, token);
    history.replaceState(null, '', location.pathname + location.search + rest);
  }
  return sessionStorage.getItem(kept) ?? undefined;
}

/** Goes on with another token. */
export function goOnWithToken(token: string): void {
  sessionStorage.setItem(kept, token);
  location.reload();
}

/** What the service was started with as its `--token-file`; undefined where it wants none. */
export const token = readToken();

/** Where the service is: where the page came from. */
export const address = `${location.origin}/`;

/** The headers that let a request of this page in. */
export const headers: Readonly<Record<string, string>> = token === undefined ? {} : { authorization: `Bearer ${token}` };

/** The page's one connection to the service. */
export const tv = new Tv(address, { token, longestPause: 8000 });
