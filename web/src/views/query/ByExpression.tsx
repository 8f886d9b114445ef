import { useServices } from '@ostrel/tv/react';
import { useEffect, useId, useMemo, useRef, useState } from 'react';
import { useZone } from '../../app/settings';
import { Icon } from '../../parts/Icon';
import { formatDate, formatDay, formatTime } from '../../parts/time';
import { parse } from '../../quoril/expression';
import styles from './ByExpression.module.css';
import type { Known } from './complete';
import { Editor } from './Editor';
import { type Example, makeTimes } from './examples';
import { remember, useHistory } from './history';
import { HistoryDialog } from './HistoryDialog';
import view from './index.module.css';
import { Reading } from './Reading';
import { Tree } from './Tree';
import type { Meaning } from './tree';
import { write } from './write';

interface ByExpressionProps {
  /** The one that was asked. */
  expression: string;
  /** The service's time; undefined until it is known. */
  now: number | undefined;
  examples: readonly Example[];
  onAsk: (expression: string) => void;
}

/** What numbers are likely to mean, and which ones are likely to be meant. */
function useKnown(now: number | undefined): { known: Known; meaning: Meaning } {
  const { data } = useServices();
  const zone = useZone();
  return useMemo(() => {
    const names = new Map(data?.map(({ id, name }) => [id, name]));
    const services = [...names].map(([id, name]) => ({ id, name }));
    const year = (time: number) => formatDate(time, zone).slice(-4);
    const show = (time: number) =>
      [formatDay(time, zone), year(time) !== year(now ?? time) && year(time), formatTime(time, zone)].filter(Boolean).join(' ');
    const times = now === undefined ? [] : makeTimes(now, zone).map((time) => ({ ...time, shown: show(time.time) }));
    const meaning: Meaning = (field, number) => {
      if (field === 'ServiceId') return names.get(Number(number)) ?? '';
      const isTime = (field === 'Start' || field === 'End') && number >= -(2n ** 31n) && number < 2n ** 31n;
      return isTime ? show(Number(number)) : '';
    };
    return { known: { services, times }, meaning };
  }, [data, now, zone]);
}

/** An editor for the query language, with the tree that the service makes of it. */
export function ByExpression({ expression: asked, now, examples, onAsk }: ByExpressionProps) {
  const [text, setText] = useState(asked);
  useEffect(() => setText(asked), [asked]);
  const expression = useMemo(() => parse(text), [text]);
  const { known, meaning } = useKnown(now);
  const field = useRef<HTMLTextAreaElement>(null);
  const reading = useId();
  const history = useHistory();
  const [place, setPlace] = useState(-1); // in the history
  const [isHistoryOpen, openHistory] = useState(false);

  const put = (other: string) => field.current && write(field.current, other, 0, field.current.value.length);
  const run = (which = text) => {
    remember(which);
    setPlace(-1);
    onAsk(which);
  };
  const step = (by: 1 | -1) => {
    const next = place + by + (history[place + by] === text ? by : 0); // what stands there already is no step
    const query = history[next];
    if (query === undefined) return;
    setPlace(next);
    put(query);
  };
  return (
    <div className={view.halves}>
      <section className={view.half} aria-label="Expression">
        <Editor text={text} expression={expression} known={known} describedBy={reading} fieldRef={field}
          onChange={setText} onRun={() => run()} onHistory={step} />
        <div className={styles.row}>
          <Reading id={reading} text={text} expression={expression} onMend={put} />
          <button data-kind="quiet" onClick={() => openHistory(true)} disabled={history.length === 0}>
            History
          </button>
          <button data-kind="primary" onClick={() => run()}>
            <Icon name="play" size={16} /> Ask
          </button>
        </div>
        <ul className={styles.examples} aria-label="Examples">
          {examples.map(({ name, expression: example }) => (
            <li key={name}>
              <button className={styles.example} title={example || 'nothing at all'} aria-pressed={example === text}
                onClick={() => (put(example), run(example))}>
                {name}
              </button>
            </li>
          ))}
        </ul>
      </section>
      <Tree expression={expression} meaning={meaning} onSelect={(at, end) => {
        field.current?.focus();
        field.current?.setSelectionRange(at, end);
      }} />
      {isHistoryOpen && (
        <HistoryDialog queries={history} onClose={() => openHistory(false)} onTake={(query) => {
          openHistory(false);
          setText(query);
          run(query);
        }} />
      )}
    </div>
  );
}
