import { type RefObject, useState } from 'react';
import { complete, type Completion, type Known, type Suggestion } from './complete';
import { write } from './write';

export interface Completing {
  /** Where the word begins that the suggestions are for; undefined while there are none. */
  from: number | undefined;
  suggestions: readonly Suggestion[];
  /** The one that Enter takes. */
  active: number | undefined;
  /** Looks what the text may go on with. */
  look: (field: HTMLTextAreaElement) => void;
  take: (place: number) => void;
  close: () => void;
  /** Whether the key was one of the list's. */
  onKey: (event: React.KeyboardEvent) => boolean;
}

/** What the expression may go on with at the caret, offered while somebody types. */
export function useCompletion(fieldRef: RefObject<HTMLTextAreaElement | null>, text: string, known: Known): Completing {
  const [found, setFound] = useState<Completion & { text: string }>();
  const [active, setActive] = useState<number>();
  // What was found for another text is of no use, where an example or a query of before has replaced it.
  const open = found?.text === text ? found : undefined;
  const count = open?.suggestions.length ?? 0;

  const close = () => setFound(undefined);
  // The caret is the selection's end: Undo selects what it has brought back.
  const look = (field: HTMLTextAreaElement) => {
    const completion = complete(field.value, field.selectionEnd, known);
    setActive(undefined);
    setFound(completion && { ...completion, text: field.value });
  };
  const take = (place: number) => {
    const field = fieldRef.current;
    const taken = open?.suggestions[place];
    if (field !== null && open !== undefined && taken !== undefined) write(field, taken.insert, open.from, field.selectionEnd);
  };
  const onKey = (event: React.KeyboardEvent): boolean => {
    const done = keyOf(event);
    if (done === undefined) return false;
    event.preventDefault();
    done();
    return true;
  };
  const keyOf = ({ key, ctrlKey, altKey, shiftKey }: React.KeyboardEvent): (() => void) | undefined => {
    if (ctrlKey && key === ' ') return () => fieldRef.current && look(fieldRef.current);
    if (open === undefined || ctrlKey || altKey || shiftKey) return undefined;
    if (key === 'ArrowDown') return () => setActive(((active ?? -1) + 1) % count);
    if (key === 'ArrowUp') return () => setActive(((active ?? 0) - 1 + count) % count);
    if (key === 'Escape') return close;
    if (key === 'Tab' || (key === 'Enter' && active !== undefined)) return () => take(active ?? 0);
    return undefined;
  };
  return { from: open?.from, suggestions: open?.suggestions ?? [], active: open && active, look, take, close, onKey };
}
