import { Topic, useTopic } from '../../parts/Topic';

const key = 'ostrel.queries';
const most = 30;

/** The latest first, each once, and no more than are worth a look. */
export const withLatest = (queries: readonly string[], query: string): readonly string[] =>
  [query, ...queries.filter((other) => other !== query)].slice(0, most);

function read(): readonly string[] {
  try {
    const kept: unknown = JSON.parse(localStorage.getItem(key) ?? '[]');
    return Array.isArray(kept) ? kept.filter((query) => typeof query === 'string').slice(0, most) : [];
  } catch {
    return [];
  }
}

const queries = new Topic(read());

function keep(kept: readonly string[]): void {
  queries.set(kept);
  try {
    localStorage.setItem(key, JSON.stringify(kept));
  } catch {} // then it lasts until the page is left
}

/** The expressions that this browser has asked, the latest first. */
export const useHistory = (): readonly string[] => useTopic(queries);
export const remember = (query: string): void => keep(withLatest(queries.get(), query));
export const forget = (): void => keep([]);
