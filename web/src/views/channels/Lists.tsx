import type { Base } from './cursor';
import styles from './Channels.module.css';

interface ListsProps {
  base: Base;
  counts: Readonly<Record<Base, number | undefined>>;
  onChoose: (base: Base) => void;
}

const lists = [['all', 'All services'], ['new', 'Found by the latest scan']] as const;

/** Chooses the list. That which is shown is selected once more, which leads the cursor to its start. */
export function Lists({ base, counts, onChoose }: ListsProps) {
  return (
    <div className={styles.lists} role="group" aria-label="List">
      {lists.map(([value, words]) => (
        <button key={value} aria-pressed={base === value} onClick={() => onChoose(value)}
          title={base === value ? 'Select it again, with the cursor at its start' : undefined}>
          {words} <small>{counts[value] ?? ' '}</small>
        </button>
      ))}
    </div>
  );
}
