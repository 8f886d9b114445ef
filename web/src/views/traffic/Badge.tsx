import styles from './Badge.module.css';
import { wordOf } from './message';
import type { Entry } from './TrafficLog';

/** What has become of a call, in a word and a colour. */
export function Badge({ entry: { kind, outcome } }: { entry: Entry }) {
  const told = kind === 'notification';
  return (
    <span className={styles.badge} data-kind={told ? 'told' : outcome.kind}>
      {told ? 'notification' : wordOf(outcome)}
    </span>
  );
}
