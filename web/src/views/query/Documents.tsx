import { useState } from 'react';
import { inks, layOut } from '../../parts/document';
import { Icon } from '../../parts/Icon';
import styles from './Documents.module.css';
import type { Found } from './found';
import results from './Results.module.css';
import { useRows } from './useRows';

/** Documents as they travel, a line each; one that is opened is laid out. */
export function Documents({ found }: { found: Found }) {
  const { box, rows, onKeyDown } = useRows(found.count, 36);
  const [open, setOpen] = useState<ReadonlySet<number>>(new Set([0]));
  const toggle = (place: number) => {
    const others = new Set(open);
    if (!others.delete(place)) others.add(place);
    setOpen(others);
  };
  return (
    <div ref={box} className={results.scroll} role="region" aria-label="Documents" tabIndex={0} onKeyDown={onKeyDown}>
      <ol className={styles.list} style={{ height: rows.getTotalSize() }}>
        {rows.getVirtualItems().map(({ index, start }) => {
          const document = found.document(index);
          const isOpen = open.has(index);
          return (
            <li key={index} ref={rows.measureElement} data-index={index} aria-setsize={found.count} aria-posinset={index + 1}
              className={styles.document} style={{ transform: `translateY(${start}px)` }}>
              <button data-kind="quiet" className={styles.line} aria-expanded={isOpen} onClick={() => toggle(index)}>
                <Icon name={isOpen ? 'down' : 'right'} size={14} />
                <span className={styles.number}>{index + 1}</span>
                <code>{document.slice(0, 400)}</code>
              </button>
              {isOpen && <Whole document={document} />}
            </li>
          );
        })}
      </ol>
    </div>
  );
}

function Whole({ document }: { document: string }) {
  return (
    <pre className={styles.whole}>
      {inks(layOut(document)).map(({ text, ink }, i) => (
        <span key={i} className={styles[ink]}>
          {text}
        </span>
      ))}
    </pre>
  );
}
