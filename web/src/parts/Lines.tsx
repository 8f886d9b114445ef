import { copyText } from './copy';
import { lines } from './done';
import { Icon } from './Icon';
import styles from './Lines.module.css';
import { useTopic } from './Topic';

/** What was done from this page, as lines of `ostrel-tv` to take along. */
export function Lines() {
  const done = useTopic(lines);
  if (done.length === 0) return <p className={styles.empty}>Whatever you do here is also one line of ostrel-tv; it will stand here, to copy.</p>;
  return (
    <ol className={styles.lines} aria-label="What was done, latest first">
      {done.map(({ number, says, command }) => (
        <li key={number}>
          <span>{says}</span>
          <code>{command}</code>
          <button data-kind="quiet" aria-label={`Copy ${command}`} title="Copy" onClick={() => void copyText(command, 'the line')}>
            <Icon name="copy" size={16} />
          </button>
        </li>
      ))}
    </ol>
  );
}
