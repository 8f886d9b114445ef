const key = 'ostrel.token';

/** Takes a token out of a fragment, `#token=…` alone or among what a view keeps there. */
export function takeToken(fragment: string): { token: string | undefined; rest: string } {
  const found = /(^#|[?&])token=([\w-]+)&?/.exec(fragment);
  if (found === null) return { token: undefined, rest: fragment };
  const rest = (fragment.slice(0, found.index) + found[1] + fragment.slice(found.index + found[0].length)).replace(/[#?&]$/, '');
  return { token: found[2], rest };
}

/** The token that is kept for this tab. One that the address brings replaces it, and leaves the address. */
export function readToken(): string | undefined {
  const { token, rest } = takeToken(location.hash);
  try {
    if (token === undefined) return sessionStorage.getItem(key) ?? undefined;
    sessionStorage.setItem(key, token);
  } catch {
    return token; // where nothing is kept it stays in the address, or it would be lost
  }
  history.replaceState(null, '', location.pathname + location.search + rest);
  return token;
}

/** Goes on with another token, as an address with it would. */
export function goOnWithToken(token: string): void {
  const { rest } = takeToken(location.hash);
  history.replaceState(null, '', `#token=${token}${rest.slice(1)}`);
  location.reload();
}
