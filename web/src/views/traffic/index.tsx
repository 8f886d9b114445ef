import { useParam } from '../../app/route';
import { CallDesk } from './CallDesk';
import { Messages } from './Messages';
import { Strip } from './Strip';
import { useFeed } from './feed';
import styles from './Traffic.module.css';

/** Everything that is said between the service and its clients, and a way to say something oneself. */
export default function Traffic() {
  const [call] = useParam('call');
  const status = useFeed();
  return (
    <div className={styles.traffic}>
      <Strip />
      {call === '' ? <Messages status={status} /> : <CallDesk method={call} />}
    </div>
  );
}
