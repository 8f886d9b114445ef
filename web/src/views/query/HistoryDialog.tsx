import { useEffect, useRef } from 'react';
import { Dialog } from '../../parts/Dialog';
import { Icon } from '../../parts/Icon';
import styles from './ByExpression.module.css';
import { forget } from './history';

interface HistoryDialogProps {
  queries: readonly string[];
  onTake: (query: string) => void;
  onClose: () => void;
}

/** What was asked before, to be asked again. */
export function HistoryDialog({ queries, onTake, onClose }: HistoryDialogProps) {
  const first = useRef<HTMLButtonElement>(null);
  useEffect(() => first.current?.focus(), []); // the latest is mostly meant
  const actions = (
    <button onClick={() => (forget(), onClose())}>
      <Icon name="trash" size={16} /> Forget them
    </button>
  );
  return (
    <Dialog title="Queries of before" onClose={onClose} actions={actions}>
      <ol className={styles.queries}>
        {queries.map((query, i) => (
          <li key={query}>
            <button ref={i === 0 ? first : undefined} data-kind="quiet" onClick={() => onTake(query)}>
              {query === '' ? 'The whole guide' : <code>{query}</code>}
            </button>
          </li>
        ))}
      </ol>
    </Dialog>
  );
}
