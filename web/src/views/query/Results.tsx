import { TimedOut } from '@ostrel/tv';
import { classes } from '../../parts/classes';
import type { CallLike } from '../../parts/callAs';
import { CopyAs } from '../../parts/CopyAs';
import { Empty } from '../../parts/Empty';
import { Failure } from '../../parts/Failure';
import { Shapes } from '../../parts/Shape';
import { Documents } from './Documents';
import { EventTable } from './EventTable';
import { addressOf, type Form, forms, type Question } from './question';
import styles from './Results.module.css';
import type { Asked } from './useAsked';

interface ResultsProps {
  asked: Asked;
  question: Question | undefined;
  form: Form;
  call: CallLike | undefined;
  onRetry: () => void;
}

const formNames: Record<Form, string> = { table: 'Table', json: 'JSON', xml: 'XML' };

function summarise({ state, found, error, took = 0 }: Asked): string {
  if (state === 'disconnected') return found ? 'No connection: this is the answer of before' : 'Asked as soon as there is a connection';
  if (state === 'loading') return 'Asking…';
  if (found === undefined) return error instanceof TimedOut ? 'No reply' : 'Refused';
  const time = took < 1000 ? `${took.toFixed(took < 10 ? 1 : 0)} ms` : `${(took / 1000).toFixed(1)} s`;
  return `${found.count.toLocaleString('en-GB')} ${found.count === 1 ? 'event' : 'events'} in ${time}`;
}

/** What was found, how long that took, and the call to take along. */
export function Results({ asked, question, form, call, onRetry }: ResultsProps) {
  const offered = question?.by === 'form' ? forms.filter((one) => one !== 'xml') : forms;
  return (
    <section className={styles.results} aria-label="Results" aria-busy={asked.state === 'loading'}>
      <header className={styles.head}>
        <p className={styles.summary} role="status">
          {summarise(asked)}
        </p>
        {question !== undefined && (
          <nav className={styles.forms} aria-label="Shown as">
            {offered.map((one) => (
              <a key={one} href={addressOf(question, one)} aria-current={one === form ? 'true' : undefined}>
                {formNames[one]}
              </a>
            ))}
          </nav>
        )}
        {call !== undefined && asked.error === undefined && <CopyAs call={call} />}
      </header>
      <div className={classes(styles.body, asked.state === 'disconnected' && styles.old, asked.state === 'loading' && styles.coming)}>
        <Body asked={asked} form={form} onRetry={onRetry} />
      </div>
    </section>
  );
}

function Body({ asked, form, onRetry }: Pick<ResultsProps, 'asked' | 'form' | 'onRetry'>) {
  const { found, error, call } = asked;
  if (error !== undefined && call !== undefined) return <div className={styles.failed}><Failure error={error} call={call} onRetry={onRetry} /></div>;
  if (found === undefined) return <div className={styles.shapes}><Shapes count={8} height={36} /></div>;
  if (found.count === 0)
    return (
      <Empty icon="query" title="No event matches">
        <p>The guide was asked, and holds nothing of the kind. Widen the times, or leave a condition out.</p>
      </Empty>
    );
  // Another answer begins at its top.
  const key = JSON.stringify(call);
  // Until the table's documents are there, those of before are shown as what they are.
  return form === 'table' && !found.isXml ? <EventTable key={key} found={found} /> : <Documents key={key} found={found} />;
}
