import { useEffect, useRef } from 'react';
import type { Suggestion } from './complete';
import styles from './Suggestions.module.css';

interface SuggestionsProps {
  id: string;
  suggestions: readonly Suggestion[];
  active: number | undefined;
  place: { left: number; top: number };
  onTake: (place: number) => void;
}

/** What a text may go on with, below the caret; the focus stays in the text. */
export function Suggestions({ id, suggestions, active, place, onTake }: SuggestionsProps) {
  const list = useRef<HTMLUListElement>(null);
  useEffect(() => {
    if (active !== undefined) list.current?.children[active]?.scrollIntoView({ block: 'nearest' });
  }, [active]);
  return (
    <div className={styles.place} style={place} onMouseDown={(event) => event.preventDefault()}>
      <ul ref={list} id={id} role="listbox" aria-label="What may follow" className={styles.list}>
        {suggestions.map(({ insert, label, hint }, i) => (
          <li key={insert + label} id={`${id}-${i}`} role="option" aria-selected={i === active} onClick={() => onTake(i)}>
            <span>{label}</span>
            <small>{hint}</small>
          </li>
        ))}
      </ul>
      <p className={styles.keys} aria-hidden="true">
        <kbd>Tab</kbd> takes {active === undefined ? 'the first' : 'it'}, <kbd>Esc</kbd> closes
      </p>
      <p className="visually-hidden" role="status">
        {suggestions.length} suggestions
      </p>
    </div>
  );
}
