import { useState } from 'react';
import { Dialog } from '../../parts/Dialog';
import { type SurpriseName, surprises } from './surprises';
import styles from './Why.module.css';

/** Explains what the module does on purpose, beside where it happens. */
export function Why({ of }: { of: readonly SurpriseName[] }) {
  const [isOpen, open] = useState(false);
  const found = of.map((name) => surprises[name]);
  const titles = found.map(({ title }) => title).join('; ');
  return (
    <>
      <button type="button" data-kind="quiet" className={styles.why} aria-label={`Why? ${titles}`} title={titles} onClick={() => open(true)}>
        why?
      </button>
      {isOpen && (
        <Dialog title="Meant so" onClose={() => open(false)}>
          {found.map(({ title, text }) => (
            <section key={title} className={styles.surprise}>
              <h3>{title}</h3>
              <p>{text}</p>
              <small>More of it in <code>docs/oddities.md</code>, “{title}”.</small>
            </section>
          ))}
        </Dialog>
      )}
    </>
  );
}
