import type { Rule, Weather } from '@ostrel/tv/simulator';
import { type ReactNode, useId, useState } from 'react';
import { Icon } from '../../parts/Icon';
import { addRule } from './actions';
import { useNames } from './names';
import { type Draft, drops, effectText, emptyDraft, errors, ruleOf, whenText } from './rule';
import styles from './Simulator.module.css';

interface FieldProps {
  name: string;
  children: ReactNode;
}

const Field = ({ name, children }: FieldProps) => (
  <label className={styles.field}>
    <span>{name}</span>
    {children}
  </label>
);

interface RuleFormProps {
  weather: Weather;
  /** Gives whether it came about. */
  onAdd: (rule: Rule) => Promise<boolean>;
}

/** Makes a rule by hand; below it stands what it would say, and the line that does the same. */
export function RuleForm({ weather, onAdd }: RuleFormProps) {
  const [draft, setDraft] = useState(emptyDraft);
  const names = useNames();
  const list = useId();
  const heading = useId();
  const preview = useId();
  const made = ruleOf(draft);
  const change = (changed: Partial<Draft>) => setDraft((before) => ({ ...before, ...changed }));
  const number = (name: 'least' | 'most' | 'after' | 'times' | 'percent', label: string, limits: React.InputHTMLAttributes<HTMLInputElement>) => (
    <input type="number" aria-label={label} min={0} value={draft[name]} onChange={(event) => change({ [name]: event.target.value })} {...limits} />
  );
  const add = async (event: React.FormEvent) => {
    event.preventDefault();
    if ('rule' in made && (await onAdd(made.rule))) setDraft(emptyDraft);
  };
  return (
    <form className={styles.form} onSubmit={(event) => void add(event)} aria-labelledby={heading}>
      <h3 id={heading}>A rule of your own</h3>
      <Field name="Of">
        <select value={draft.for} onChange={(event) => change({ for: event.target.value as Draft['for'], outcome: '', method: '*' })}>
          <option value="call">calls</option>
          <option value="notification">notifications</option>
        </select>
      </Field>
      <Field name="Method, * for any text">
        <input className={styles.glob} list={list} value={draft.method} spellCheck={false} autoComplete="off" onChange={(event) => change({ method: event.target.value })} />
      </Field>
      <datalist id={list}>{names[draft.for].map((name) => <option key={name} value={name} />)}</datalist>
      <Field name="Late by, ms">
        <span className={styles.range}>
          {number('least', 'Late by, milliseconds', { max: 600000, placeholder: '0' })} to {number('most', 'At most, milliseconds', { max: 600000, placeholder: 'same' })}
        </span>
      </Field>
      <Field name="Then">
        <select value={draft.outcome} onChange={(event) => change({ outcome: event.target.value as Draft['outcome'] })}>
          <option value="">go on as usual</option>
          {drops[draft.for].map(([drop, text]) => <option key={drop} value={drop}>{text}</option>)}
          {draft.for === 'call' && errors.map((error) => <option key={error} value={error}>fail with {error}</option>)}
        </select>
      </Field>
      <Field name="After the first">{number('after', 'After the first', { max: 4294967295, placeholder: '0' })}</Field>
      <Field name="Times">{number('times', 'Times', { max: 4294967295, placeholder: 'no end' })}</Field>
      <Field name="Probability, %">{number('percent', 'Probability, percent', { max: 100, step: 'any', placeholder: '100' })}</Field>
      <button aria-describedby={preview}><Icon name="plus" size={16} /> Add rule</button>
      <p id={preview} className={styles.preview}>
        {'rule' in made ? (
          <>
            {effectText(made.rule)} · {whenText(made.rule)} <code>{addRule(weather, made.rule).command}</code>
          </>
        ) : made.lacks}
      </p>
    </form>
  );
}
