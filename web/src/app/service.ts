import { Tv } from '@ostrel/tv';
import { passed } from './ownTraffic';
import { readToken, takeToken } from './token';

/** What the service was started with as its `--token-file`; undefined where it wants none. */
export const token = readToken();

// An address with another token that is opened in this tab changes the fragment alone.
addEventListener('hashchange', () => {
  if (takeToken(location.hash).token !== undefined) location.reload();
});

/** Where the service is: where the page came from. */
export const address = `${location.origin}/`;

/** The headers that let a request of this page in. */
export const headers: Readonly<Record<string, string>> = token === undefined ? {} : { authorization: `Bearer ${token}` };

/** The page's one connection to the service. */
export const tv = new Tv(address, { token, longestPause: 8000, observe: passed });
