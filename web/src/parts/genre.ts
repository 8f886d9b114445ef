import { useCall } from '@ostrel/tv/react';
import { useMemo } from 'react';

/** The first half of a content code, by EN 300 468, table 29. */
const kinds = [
  'Other', 'Film', 'News', 'Show', 'Sport', 'Children', 'Music', 'Arts', 'Society', 'Science', 'Leisure', 'Special',
] as const;

/** What kind of programme a content code says it is: 1 to 11, and 0 for one that says nothing. */
export const kindOf = (code: number | undefined): number => {
  const kind = (code ?? 0) >>> 4;
  return kind < kinds.length ? kind : 0;
};

/** One word for a kind; empty for 0. */
export const kindWord = (kind: number): string => (kind === 0 ? '' : kinds[kind] ?? '');

/** How addresses name a kind. */
export const genreName = (kind: number): string => (kind === 1 ? 'movie' : kindWord(kind).toLowerCase());

/** Kinds by number, for a choice of one. */
export const genreKinds: readonly (readonly [kind: number, word: string])[] = kinds.map((word, kind) => [kind, word] as const).slice(1);

/** The kind that an address names; undefined for none. */
export const kindNamed = (name: string): number | undefined => genreKinds.find(([kind]) => genreName(kind) === name)?.[0];

/** The colour of a kind, for an edge of four pixels beside the word. */
export const kindColour = (kind: number): string => `var(--genre-${kind})`;

/** What the service calls each content code. */
export function useGenreTexts(): ReadonlyMap<number, string> {
  const { data } = useCall('ITVGuide::getGenreStringMapList');
  return useMemo(() => new Map(data?.map(({ code, text }) => [code, text])), [data]);
}
