import { type FormEvent, useEffect, useMemo, useRef, useState } from 'react';
import { CopyAs } from '../../parts/CopyAs';
import { Icon } from '../../parts/Icon';
import { Answer } from './Answer';
import styles from './CallDesk.module.css';
import { type Again, takeFocus } from './calls';
import { check, type Problem } from './check';
import type { Method, Schemas } from './description';
import { Field } from './Field';
import { parseNumber, withValueAt } from './form';
import { FormContext } from './FormContext';
import { JsonText } from './JsonText';
import { Prose } from './Prose';
import { useSend } from './useSend';

interface CallFormProps {
  method: Method;
  schemas: Schemas;
  /** What to begin with; otherwise the first example of the description. */
  again: Again | undefined;
}

const contextSchema = { type: 'integer', minimum: 1, maximum: 4294967295 };

/** A call to fill in, check and make, and what it is answered. */
export function CallForm({ method, schemas, again }: CallFormProps) {
  const { name, body, takesContext, examples, refusals } = method;
  const [value, change] = useState<unknown>(() => (again === undefined ? examples[0]?.body : again.payload));
  const [contextText, setContext] = useState('');
  const [sent, send] = useSend();
  const context = parseNumber(contextText);
  const problems = useMemo<Problem[]>(() => {
    const inBody = body === undefined ? [] : check(body, value, schemas);
    return context === undefined ? inBody : [...check(contextSchema, context, schemas, 'context'), ...inBody];
  }, [body, value, schemas, context]);
  const form = useMemo(
    () => ({ value, schemas, problems, change: (path: readonly (string | number)[], changed: unknown) => change((now: unknown) => withValueAt(now, path, changed)) }),
    [value, schemas, problems],
  );
  const place = useRef<HTMLFormElement>(null);
  useEffect(() => {
    place.current?.parentElement?.scrollTo(0, 0); // on a phone the form before was in the same place
    if (takeFocus()) place.current?.querySelector<HTMLElement>('input, select, footer button')?.focus();
  }, []);
  const result = useRef<HTMLDivElement>(null);
  useEffect(() => {
    if (sent.state === 'answered' || sent.state === 'refused') void result.current?.scrollIntoView({ block: 'nearest' });
  }, [sent]);
  const submit = (event: FormEvent) => {
    event.preventDefault();
    send(name, value, typeof context === 'number' ? context : undefined);
  };
  return (
    <FormContext value={form}>
      <form ref={place} className={styles.form} onSubmit={submit} noValidate aria-label={name}>
        <h3 className={styles.name}>{name}</h3>
        <div className={styles.prose}>
          <p><strong>{method.summary}</strong></p>
          {method.description !== '' && (
            <details>
              <summary>What to know about it</summary>
              <Prose text={method.description} />
            </details>
          )}
        </div>
        {again !== undefined && <AgainNote from={again.from} takesContext={takesContext} />}
        {examples.length > 1 && (
          <div className={styles.examples} role="group" aria-label="Examples">
            {examples.map(({ name, body }) => (
              <button type="button" key={name} className="chip" onClick={() => change(body)}>{name}</button>
            ))}
          </div>
        )}
        {body === undefined ? <p className={styles.hint}>It takes nothing.</p> : <Field schema={body} path={[]} name="" isRequired />}
        {takesContext && (
          <label className={styles.context}>
            <code>context</code>
            <input value={contextText} inputMode="numeric" placeholder="this page's own" aria-invalid={problems[0]?.path === 'context'}
              onChange={(event) => setContext(event.target.value)} />
          </label>
        )}
        <footer className={styles.foot}>
          <button data-kind={problems.length === 0 ? 'primary' : undefined} disabled={sent.state === 'under way'}>
            <Icon name="play" size={16} /> {problems.length === 0 ? 'Call' : 'Call anyway'}
          </button>
          <span className={styles.verdict} role="status" data-bad={problems.length > 0 || undefined}>
            {problems.length === 0 ? 'All as described.' : problems.length === 1 ? `${problems[0]!.path} ${problems[0]!.text}` : `${problems.length} places are not as described.`}
          </span>
        </footer>
      </form>
      <div ref={result} className={styles.result}>
        {body !== undefined && <JsonText label={takesContext ? 'payload' : 'params'} value={value} onChange={change} />}
        <CopyAs call={{ method: name, payload: value }} />
        <Answer sent={sent} call={{ method: name, payload: value }} refusals={refusals} />
      </div>
    </FormContext>
  );
}

function AgainNote({ from, takesContext }: { from: string; takesContext: boolean }) {
  return (
    <p className={styles.note}>
      As {from === 'this page' ? 'this page has called it' : <><code>{from}</code> has called it</>}.
      {takesContext && from !== 'this page' && ' It goes out with the context of this page: the list and the cursor are this page\'s, not that client\'s.'}
    </p>
  );
}
