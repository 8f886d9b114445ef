import type { ServiceInfo } from '@ostrel/tv';
import { Tile } from '../../parts/Tile';
import styles from './Operations.module.css';
import { Why } from './Why';

/** Where the cursor stands, in words. */
export function Reading({ services, position, isLost }: { services: readonly ServiceInfo[] | undefined; position: number | undefined; isLost: boolean }) {
  const at = position === undefined ? undefined : services?.[position];
  const words = () => {
    if (position === undefined) return !isLost ? '' : 'No list is selected. Choose one above the table.';
    if (at !== undefined) return (
      <>
        before <Tile name={at.name} size={24} /> <b>{at.channelNumber} {at.name}</b>
      </>
    );
    if (services === undefined) return '';
    return position === services.length ? 'at the end of the list' : `beyond the end: ${services.length} are left in the list`;
  };
  return (
    <div className={styles.reading}>
      <h2>Cursor <Why of={['context']} /></h2>
      <p>
        {position !== undefined && <strong>{position}</strong>}
        <span>{words()}</span>
      </p>
    </div>
  );
}
