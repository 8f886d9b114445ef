import type { ScanInfo } from '@ostrel/tv';
import { Icon } from '../../parts/Icon';
import { Tile } from '../../parts/Tile';
import styles from './Scan.module.css';
import { type Group, placeText } from './story';

function GroupList({ group: { place, services } }: { group: Group }) {
  return (
    <section className={styles.group} aria-label={placeText(place)}>
      <h3>
        {placeText(place)} <span>{services.length}</span>
      </h3>
      <ul>
        {services.map(({ uri, name, channelNumber, type, highDefinition }) => (
          <li key={uri}>
            <Tile name={name} size={28} />
            <span className={styles.channelNumber}>{channelNumber}</span>
            <span className={styles.service}>{name}</span>
            {highDefinition && <small>HD</small>}
            <span className={styles.kind} data-kind={['', 'tv', 'radio'][type] ?? 'other'} title={['', 'Television', 'Radio'][type] ?? 'Other'}>
              <Icon name={type === 1 ? 'tv' : type === 2 ? 'radio' : 'data'} size={16} />
            </span>
          </li>
        ))}
      </ul>
    </section>
  );
}

interface FoundProps {
  groups: readonly Group[];
  info: ScanInfo | undefined;
  /** How many services the channel list has. */
  inList: number | undefined;
  /** How many are new. */
  count: number;
  isRunning: boolean;
  onClear: () => void;
}

/** What is new by the scan that runs, or the latest: the services, by where they were found. */
export function Found({ groups, info, inList, count, isRunning, onClear }: FoundProps) {
  return (
    <section className={styles.found} aria-labelledby="new">
      <header>
        <h2 id="new">New services</h2>
        <span className={styles.note}>{count > 0 && `${count} new · `}{inList !== undefined && `${inList} in the channel list`}</span>
      </header>
      {[...groups].reverse().map((group) => <GroupList key={group.services[0]!.uri} group={group} />)}
      {groups.length === 0 && (
        <div className={styles.nothing}>
          <p>
            {isRunning ? 'Nothing new so far.' : info === undefined ? 'What a scan adds to the channel list will stand here.' : 'The latest scan has found nothing new.'}{' '}
            {inList !== undefined && inList > 0 && 'Services that are in the channel list already are not found again.'}
          </p>
          {!isRunning && inList !== undefined && inList > 0 && <button onClick={onClear}>Empty the lists…</button>}
        </div>
      )}
    </section>
  );
}
