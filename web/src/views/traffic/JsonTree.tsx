import { useVirtualizer } from '@tanstack/react-virtual';
import { type KeyboardEvent, useId, useMemo, useRef, useState } from 'react';
import { jsonRows, moveInTree, openAtFirst } from './jsonRows';
import styles from './JsonTree.module.css';

/** A value as a tree that is opened branch by branch; only what is in sight is drawn, however large it is. */
export function JsonTree({ value, label }: { value: unknown; label: string }) {
  const id = useId();
  const box = useRef<HTMLDivElement>(null);
  const [open, setOpen] = useState<ReadonlySet<string>>(() => openAtFirst(value));
  const [active, choose] = useState(0);
  const rows = useMemo(() => jsonRows(value, open), [value, open]);
  const virtual = useVirtualizer({ count: rows.length, getScrollElement: () => box.current, estimateSize: () => 22, overscan: 8 });

  const toggle = (path: string) => {
    const changed = new Set(open);
    if (!changed.delete(path)) changed.add(path);
    setOpen(changed);
  };
  const onKeyDown = (event: KeyboardEvent) => {
    const move = event.altKey || event.ctrlKey || event.metaKey ? undefined : moveInTree(rows, active, event.key);
    if (move === undefined) return;
    event.preventDefault();
    choose(move.at);
    if (move.toggle !== undefined) toggle(move.toggle);
    else virtual.scrollToIndex(move.at);
  };
  const shown = virtual.getVirtualItems().filter(({ index }) => index < rows.length);
  return (
    <div ref={box} className={styles.tree} role="tree" aria-label={label} tabIndex={0} onKeyDown={onKeyDown}
      aria-activedescendant={shown.some(({ index }) => index === active) ? `${id}${active}` : undefined}>
      <div role="none" className={styles.rows} style={{ height: virtual.getTotalSize() }}>
        {shown.map(({ index, start }) => {
          const { path, depth, label, kind, text, canOpen, isOpen } = rows[index]!;
          return (
            <div key={path} id={`${id}${index}`} role="treeitem" aria-level={depth + 1} aria-selected={index === active}
              aria-expanded={canOpen ? isOpen : undefined} className={styles.row} data-kind={kind} data-can-open={canOpen || undefined}
              style={{ transform: `translateY(${start}px)`, paddingLeft: 8 + 16 * depth }}
              onClick={() => (choose(index), canOpen && toggle(path))}>
              <span className={styles.mark} aria-hidden="true">{canOpen && (isOpen ? '▾' : '▸')}</span>
              {label !== '' && <span className={styles.label}>{label}{kind !== 'range' && ':'}</span>}
              <span className={styles.value}>{text}</span>
            </div>
          );
        })}
      </div>
    </div>
  );
}
