import { useParam } from '../../app/route';
import { genreKinds, genreName, kindColour } from '../../parts/genre';
import { typeNamed } from '../../parts/services';
import { type Card, countGenres, type Wanted } from './cards';
import styles from './Filter.module.css';

const kinds = [['', 'All'], ['television', 'Television'], ['radio', 'Radio']] as const;

/** Chooses which cards are shown: those of a kind of service, of a genre. The address keeps the choice. */
export function Filter({ cards, wanted }: { cards: readonly Card[] | undefined; wanted: Wanted }) {
  const [kind, setKind] = useParam('kind');
  const [genre, setGenre] = useParam('genre');
  const ofKind = (cards ?? []).filter(({ service }) => wanted.type === undefined || service.type === wanted.type);
  const counts = countGenres(ofKind);
  return (
    <div className={styles.filter} role="toolbar" aria-label="What is shown">
      <div className={styles.kinds} role="group" aria-label="Kind of service">
        {kinds.map(([value, word]) => (
          <button key={value} aria-pressed={kind === value} onClick={() => setKind(value)}>
            {word}
            <small>{cards?.filter(({ service }) => value === '' || service.type === typeNamed(value)).length}</small>
          </button>
        ))}
      </div>
      <div className={styles.genres} role="group" aria-label="Genre">
        {genreKinds.filter(([number]) => counts.has(number) || wanted.genre === number).map(([number, word]) => (
          <button key={number} aria-pressed={wanted.genre === number} style={{ '--genre': kindColour(number) } as React.CSSProperties}
            onClick={() => setGenre(genre === genreName(number) ? '' : genreName(number))}>
            {word}
            <small>{counts.get(number) ?? 0}</small>
          </button>
        ))}
      </div>
    </div>
  );
}
