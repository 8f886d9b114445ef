import { useRef, useState } from 'react';
import { type Expression, nodeLimit } from '../../quoril/expression';
import { type Branch, grow, type Meaning } from './tree';
import styles from './Tree.module.css';

interface TreeProps {
  expression: Expression;
  meaning: Meaning;
  /** Shows a part of the text. */
  onSelect: (at: number, end: number) => void;
}

/** How the service reads an expression, and how many of its nodes that takes. */
export function Tree({ expression, meaning, onSelect }: TreeProps) {
  const { tree, mistake, nodes } = expression;
  const latest = useRef(tree);
  const [isOpen, setOpen] = useState(() => !matchMedia('(max-width: 900px)').matches); // where there is room for it
  if (mistake === null) latest.current = tree;
  const isFull = mistake?.reason === 'TooManyNodes';
  return (
    <details className={styles.panel} open={isOpen} onToggle={({ currentTarget }) => setOpen(currentTarget.open)}>
      <summary className={styles.head}>
        <h2>Tree</h2>
        <div className={styles.cells} aria-hidden="true">
          {Array.from({ length: nodeLimit }, (_, i) => (
            <span key={i} data-used={i < nodes || undefined} data-full={isFull || undefined} />
          ))}
        </div>
        <span className={styles.count} data-full={isFull || undefined}>
          {nodes} of {nodeLimit} nodes
        </span>
      </summary>
      {latest.current === null ? (
        <p className={styles.note}>{mistake === null ? 'No tree: every event is wanted.' : 'No tree yet.'}</p>
      ) : (
        <ul className={styles.tree} aria-label="The tree as the service sees it" data-old={mistake !== null || undefined}>
          <Twig branch={grow(latest.current, meaning)} onSelect={onSelect} isOld={mistake !== null} />
        </ul>
      )}
    </details>
  );
}

function Twig({ branch, onSelect, isOld }: { branch: Branch; onSelect: TreeProps['onSelect']; isOld: boolean }) {
  const { at, end, label, meaning, isUnknown, children } = branch;
  return (
    <li>
      <button data-kind="quiet" className={styles.node} disabled={isOld} data-inner={children.length > 0 || undefined}
        title="Show it in the text" onClick={() => onSelect(at, end)}>
        <code data-unknown={isUnknown || undefined}>{label}</code>
        {meaning && <small>{meaning}</small>}
      </button>
      {children.length > 0 && (
        <ul>
          {children.map((child) => (
            <Twig key={child.at} branch={child} onSelect={onSelect} isOld={isOld} />
          ))}
        </ul>
      )}
    </li>
  );
}
