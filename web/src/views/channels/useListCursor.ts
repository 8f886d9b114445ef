import { useEffect } from 'react';
import { tv } from '../../app/service';
import { useTopic } from '../../parts/Topic';
import type { Base } from './cursor';
import { type CursorState, ListCursor } from './ListCursor';

/** The page's one. */
export const cursor = new ListCursor(tv);

/** The cursor, in a list. */
export function useListCursor(base: Base): CursorState {
  useEffect(() => {
    cursor.want(base);
    return () => cursor.want(undefined);
  }, [base]);
  return useTopic(cursor.state);
}
