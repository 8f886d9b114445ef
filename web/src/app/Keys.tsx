import { Dialog } from '../parts/Dialog';
import { useShortcutGroups } from '../parts/shortcuts';
import styles from './Keys.module.css';

/** All keys that do something now. */
export function Keys({ onClose }: { onClose: () => void }) {
  const groups = useShortcutGroups();
  return (
    <Dialog title="Keys" onClose={onClose}>
      {groups.map(([group, shortcuts]) => (
        <section key={group}>
          <h3>{group}</h3>
          <dl className={styles.keys}>
            {shortcuts.map(({ key, label, does }) => (
              <div key={does}>
                <dt>{label !== undefined ? <kbd>{label}</kbd> : [key].flat().map((one) => <kbd key={one}>{one}</kbd>)}</dt>
                <dd>{does}</dd>
              </div>
            ))}
          </dl>
        </section>
      ))}
    </Dialog>
  );
}
