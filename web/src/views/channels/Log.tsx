import { ServiceError } from '@ostrel/tv';
import { CopyAs } from '../../parts/CopyAs';
import { literal } from '../../parts/callAs';
import { callOf, given, isWrapped, type Outcome, tell } from './cursor';
import styles from './Log.module.css';
import { Why } from './Why';

/** What was refused, and by which name; what was answered, but for lists, as it came. */
function answerOf({ error, result }: Outcome): string {
  if (error !== undefined) return error instanceof ServiceError ? `${error.code} ${error.name}` : error.name;
  return Array.isArray(result) ? `[${result.length}]` : String(result);
}

function Entry({ outcome, isLatest }: { outcome: Outcome; isLatest: boolean }) {
  const { operation, error } = outcome;
  const isWhence = error !== undefined && operation.name === 'serviceListSeek' && operation.payload.whence > 2;
  return (
    <li className={styles.entry} data-failed={error !== undefined || undefined} data-latest={isLatest || undefined}>
      <code className={styles.call}>
        <b>{operation.name}</b>({operation.payload === undefined ? '' : literal(operation.payload)})
      </code>
      <p>
        <code>{answerOf(outcome)}</code> <span>{tell(outcome)}</span>
        {isWhence && <Why of={['whence']} />}
        {isWrapped(outcome) && given(outcome).length === 0 && <Why of={['limit']} />}
      </p>
      {isLatest && <CopyAs call={callOf(operation)} />}
    </li>
  );
}

/** What was done with the cursor, and what came of it; the latest first. */
export function Log({ outcomes }: { outcomes: readonly Outcome[] }) {
  return (
    <section className={styles.log} role="log" aria-label="Calls">
      <h2>Calls</h2>
      <ol>
        {outcomes.map((outcome, i) => <Entry key={outcome.number} outcome={outcome} isLatest={i === 0} />)}
      </ol>
    </section>
  );
}
