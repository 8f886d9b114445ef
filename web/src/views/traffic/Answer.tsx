import { Failure } from '../../parts/Failure';
import type { CallLike } from '../../parts/callAs';
import { Shapes } from '../../parts/Shape';
import styles from './CallDesk.module.css';
import type { Refusal } from './description';
import { formatTook } from './format';
import { JsonTree } from './JsonTree';
import { Prose } from './Prose';
import type { Sent } from './useSend';

interface AnswerProps {
  sent: Sent;
  call: CallLike;
  /** What the method may refuse a call with, shown until there is an answer. */
  refusals: readonly Refusal[];
}

/** What a call was answered, or what it may be. */
export function Answer({ sent, call, refusals }: AnswerProps) {
  switch (sent.state) {
    case 'under way':
      return <div aria-busy="true"><Shapes count={3} height={22} /></div>;
    case 'refused':
      return <Failure error={sent.error} call={call} />;
    case 'answered':
      return (
        <section className={styles.answer} aria-label="Answer">
          <div role="status">
            <h3>Answered in {formatTook(sent.micros)}</h3>
          </div>
          <JsonTree key={sent.number} value={sent.result} label="Result" />
        </section>
      );
  }
  return (
    <section className={styles.refusals}>
      <h3>What it may be refused with</h3>
      <dl>
        {refusals.map(({ name, code, text }) => (
          <div key={name}>
            <dt><code>{name}</code> {code}</dt>
            <dd><Prose text={text} /></dd>
          </div>
        ))}
      </dl>
    </section>
  );
}
