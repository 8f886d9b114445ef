import { useSyncExternalStore } from 'react';

const narrow = matchMedia('(max-width: 800px)');

function listen(listener: () => void): () => void {
  narrow.addEventListener('change', listener);
  return () => narrow.removeEventListener('change', listener);
}

/** Whether a line of the list does not fit, and takes two. */
export const useIsNarrow = (): boolean => useSyncExternalStore(listen, () => narrow.matches);
