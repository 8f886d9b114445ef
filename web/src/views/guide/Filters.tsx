import { type RefObject } from 'react';
import { useParam } from '../../app/route';
import { genreKinds, genreName } from '../../parts/genre';
import styles from './Guide.module.css';

function Switch({ name, children }: { name: string; children: string }) {
  const [value, change] = useParam(name);
  return (
    <button aria-pressed={value !== ''} onClick={() => change(value === '' ? '1' : '')}>
      {children}
    </button>
  );
}

interface FiltersProps {
  search: RefObject<HTMLInputElement | null>;
  /** Goes to the next event that matches, wherever in the guide it is. */
  onNext: () => void;
  /** Leaves the field for the grid. */
  onLeave: () => void;
  isFiltering: boolean;
  onClear: () => void;
}

/** What is looked for: the address holds it, and what does not match is dimmed. */
export function Filters({ search, onNext, onLeave, isFiltering, onClear }: FiltersProps) {
  const [text, changeText] = useParam('text');
  const [genre, changeGenre] = useParam('genre');
  const [kind, changeKind] = useParam('kind');
  return (
    <div className={styles.filters} role="search" aria-label="Programmes">
      <input ref={search} type="search" placeholder="Search titles" aria-label="Search titles and descriptions"
        title="Search (/); Enter for the next one" value={text} onChange={(event) => changeText(event.target.value)}
        onKeyDown={(event) => {
          if (event.key === 'Enter') onNext();
          if (event.key === 'Escape' || event.key === 'ArrowDown') {
            event.preventDefault();
            onLeave();
          }
        }} />
      <select aria-label="Genre" value={genre} onChange={(event) => changeGenre(event.target.value)}>
        <option value="">All genres</option>
        {genreKinds.map(([code, word]) => (
          <option key={code} value={genreName(code)}>
            {word}
          </option>
        ))}
      </select>
      <select aria-label="Kind" value={kind} onChange={(event) => changeKind(event.target.value)}>
        <option value="">TV and radio</option>
        <option value="television">Television</option>
        <option value="radio">Radio</option>
      </select>
      <Switch name="hd">HD</Switch>
      <Switch name="on">On now</Switch>
      <Switch name="only">Only matches</Switch>
      {isFiltering && <button data-kind="quiet" onClick={onClear}>Clear</button>}
    </div>
  );
}
