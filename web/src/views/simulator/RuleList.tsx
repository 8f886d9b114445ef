import type { CountedRule } from '@ostrel/tv/simulator';
import { useEffect, useRef } from 'react';
import { Icon } from '../../parts/Icon';
import { effectText, isSpent, whenText } from './rule';
import styles from './Simulator.module.css';

interface RuleListProps {
  rules: readonly CountedRule[];
  onRemove: (place: number) => void;
}

/** The rules in the order of trying, with how often each was reached and how often it decided. */
export function RuleList({ rules, onRemove }: RuleListProps) {
  const list = useRef<HTMLTableElement & HTMLParagraphElement>(null);
  const isRemoving = useRef(false);
  useEffect(() => {
    if (!isRemoving.current || list.current === null) return;
    isRemoving.current = false;
    if (list.current.contains(document.activeElement)) return;
    const buttons = list.current.querySelectorAll('button'); // the last one has gone, and the focus with it
    (buttons[buttons.length - 1] ?? list.current).focus();
  }, [rules.length]);
  const remove = (place: number) => {
    isRemoving.current = true;
    onRemove(place);
  };
  if (rules.length === 0) return <p ref={list} tabIndex={-1} className={styles.fine}>Every call is answered at once, and every notification arrives.</p>;
  return (
    <table ref={list} className={styles.rules}>
      <thead>
        <tr>
          <th scope="col">Rule</th>
          <th scope="col">Matched</th>
          <th scope="col">Applied</th>
          <td />
        </tr>
      </thead>
      <tbody>
        {rules.map((rule, place) => (
          <tr key={place} data-spent={isSpent(rule) || undefined}>
            <th scope="row">
              <code>{rule.method}</code>
              <span>
                {rule.notifications && 'notification '}{effectText(rule)} · {isSpent(rule) ? `${whenText(rule)}, done` : whenText(rule)}
              </span>
            </th>
            <td>{rule.matched}</td>
            <td data-some={rule.applied > 0 || undefined}>{rule.applied}</td>
            <td>
              <button type="button" data-kind="quiet" aria-label={`Remove rule ${place + 1}: ${rule.method} ${effectText(rule)}`} title="Remove"
                onClick={() => remove(place)}>
                <Icon name="trash" size={16} />
              </button>
            </td>
          </tr>
        ))}
      </tbody>
    </table>
  );
}
