import { useCall, useServices } from '@ostrel/tv/react';
import { useState } from 'react';
import { navigate, useRoute } from '../../app/route';
import { useZone } from '../../app/settings';
import { Failure } from '../../parts/Failure';
import { useShortcuts } from '../../parts/shortcuts';
import { ByExpression } from './ByExpression';
import { ByForm } from './ByForm';
import { makeExamples } from './examples';
import styles from './index.module.css';
import { addressOf, callOf, type Question, readForm, readQuestion } from './question';
import { Results } from './Results';
import { useAsked } from './useAsked';

/** Examples and the first question go by the time when the view was opened. */
const timeCall = { method: 'ITVService::utcTimeGet', payload: {} } as const;

/** The service's time when the view was opened. */
function useOpeningTime() {
  const { data, error, reload } = useCall(timeCall.method, timeCall.payload);
  const [now, setNow] = useState(data);
  if (now === undefined && data !== undefined) setNow(data);
  return { now, error, reload };
}

/** Asks the guide, by an expression of the query language or by the members of an event query. */
export default function QueryView() {
  const { params } = useRoute();
  const opening = useOpeningTime();
  const { now } = opening;
  const { data: services, error } = useServices();
  const zone = useZone();
  const [round, setRound] = useState(0);
  const isReady = now !== undefined && (services ?? error) !== undefined;
  const examples = isReady ? makeExamples(now, zone, services ?? []) : undefined;
  const first: Question = { by: 'expression', expression: examples?.[0].expression ?? '' };
  const question = readQuestion(params) ?? (examples && first);
  const form = readForm(params, question?.by);
  const call = question && callOf(question, form);
  const asked = useAsked(call, round);
  useShortcuts('Query', [
    { key: 'Enter', does: 'Asks what stands in the editor' },
    { key: 'Ctrl+Space', does: 'What may follow' },
    { key: 'Alt+↑ Alt+↓', label: 'Alt + ↑ ↓', does: 'Queries of before' },
  ]);

  const ask = (next: Question) => {
    const address = addressOf(next, form);
    if (question !== undefined && address === addressOf(question, form)) setRound(round + 1);
    navigate(address);
  };
  const minute = Math.floor((now ?? 0) / 60) * 60;
  const ways: [string, Question][] = [
    ['Expression', first],
    ['Form', { by: 'form', query: { timeRange: { base: minute, limit: minute + 2 * 3600 } } }],
  ];
  const by = question?.by ?? 'expression';
  return (
    <div className={styles.view}>
      <nav className={styles.ways} aria-label="Ways to ask">
        {ways.map(([name, begun]) => (
          <a key={name} href={addressOf(begun, form)} aria-current={begun.by === by ? 'true' : undefined}>
            {name}
          </a>
        ))}
        <span className={styles.what}>
          <code>{by === 'form' ? 'ITVGuide::queryEventInfo' : 'ITVGuide::query'}</code>
        </span>
      </nav>
      {question?.by === 'form' ? (
        <ByForm query={question.query} onAsk={(query) => ask({ by: 'form', query })} />
      ) : (
        <ByExpression expression={question?.expression ?? ''} now={now} examples={examples ?? []} onAsk={(expression) => ask({ by: 'expression', expression })} />
      )}
      {question === undefined && opening.error !== undefined ? <div><Failure error={opening.error} call={timeCall} onRetry={opening.reload} /></div> : (
        <Results asked={asked} question={question} form={form} call={call} onRetry={() => setRound(round + 1)} />
      )}
    </div>
  );
}
