import { type ReactNode, useId } from 'react';
import { useZone } from '../../app/settings';
import { Icon } from '../../parts/Icon';
import { formatDay, formatSeconds, formatZone } from '../../parts/time';
import { isOfType, pathTo } from './check';
import { type Schema, resolve } from './description';
import { alternativeOf, choicesOf, controlOf, isTime, limitsOf, type Path, startOf, valueAt } from './form';
import styles from './Field.module.css';
import { useForm } from './FormContext';
import { NumberInput } from './NumberInput';
import { Prose } from './Prose';

interface FieldProps {
  schema: Schema;
  path: Path;
  /** What people call it: the member's name or the element's place. */
  name: string;
  isRequired: boolean;
}

/** A member of what is sent: its name, its control, what it means, and what is wrong with it. */
export function Field({ schema: from, path, name, isRequired }: FieldProps) {
  const { value: whole, schemas, problems, change } = useForm();
  const id = useId();
  const schema = resolve(from, schemas);
  const value = valueAt(whole, path);
  const control = controlOf(schema);
  const place = path.reduce<string>(pathTo, '');
  const wrong = problems.filter((problem) => problem.path === place).map(({ text }) => text).join('; ');
  const isAbsent = value === undefined && !isRequired;
  const isGroup = control === 'record' || control === 'list' || control === 'either';
  const body = isAbsent ? null : isGroup ? <Members schema={schema} path={path} /> : <Single id={id} schema={schema} path={path} isWrong={wrong !== ''} />;
  if (path.length === 0) return <div className={styles.whole}>{body}{wrong && <p className={styles.wrong}>{wrong}</p>}</div>;
  const isElement = typeof path.at(-1) === 'number' && !isGroup; // its list has said what it means
  const limits = isElement ? '' : limitsOf(schema, schema.items && resolve(schema.items, schemas));
  return (
    <div className={styles.field} data-control={isAbsent ? undefined : control} data-group={isGroup || undefined} role={isGroup ? 'group' : undefined} aria-label={isGroup ? name : undefined}>
      <div className={styles.line}>
        {isGroup || isAbsent ? <span className={styles.name}>{name}</span> : <label htmlFor={id} className={styles.name}>{name}</label>}
        {isRequired && !isGroup && <span className={styles.needed} title="needed" aria-hidden="true">∗</span>}
        {!isGroup && body}
        {isAbsent && (
          <button type="button" onClick={() => change(path, startOf(schema, schemas))} aria-label={`Add ${name}`}>
            <Icon name="plus" size={16} /> Add
          </button>
        )}
        {!isRequired && !isAbsent && (
          <button type="button" data-kind="quiet" onClick={() => change(path, undefined)} aria-label={`Leave out ${name}`} title="Leave it out">
            <Icon name="close" size={16} />
          </button>
        )}
      </div>
      <div id={`${id}hint`} className={styles.hint}>
        {!isElement && schema.description !== undefined && <Prose text={schema.description} />}
        {limits !== '' && <p className={styles.limits}>{limits}</p>}
        {isTime(schema) && typeof value === 'number' && <Moment time={value} />}
        {wrong !== '' && <p className={styles.wrong}>{wrong}</p>}
      </div>
      {isGroup && body}
    </div>
  );
}

function Moment({ time }: { time: number }) {
  const zone = useZone();
  if (Math.abs(time) > 8e12) return null;
  return <p className={styles.limits}>= {formatDay(time, zone)} {new Date(time * 1000).getUTCFullYear()}, {formatSeconds(time, zone)} {formatZone(time, zone)}</p>;
}

/** A text is its own name; a number has one beside it. */
const nameOf = ({ const: value, title }: Schema): string =>
  typeof value === 'string' ? value : [JSON.stringify(value), title].filter(Boolean).join(' ');

interface SingleProps {
  id: string;
  schema: Schema;
  path: Path;
  isWrong: boolean;
}

/** One value: chosen, typed, or true or false. */
function Single({ id, schema, path, isWrong }: SingleProps) {
  const { value: whole, change } = useForm();
  const value = valueAt(whole, path);
  const common = { id, 'aria-describedby': `${id}hint`, 'aria-invalid': isWrong || undefined };
  const choices = choicesOf(schema) ?? (schema.type === 'boolean' ? [{ const: false }, { const: true }] : undefined);
  if (choices === undefined && controlOf(schema) === 'number') return <NumberInput {...common} value={value} onChange={(next) => change(path, next)} />;
  if (choices === undefined)
    return <input {...common} type="text" value={value === undefined ? '' : String(value)} onChange={(event) => change(path, event.target.value)} />;
  const chosen = choices.findIndex((choice) => choice.const === value);
  return (
    <select {...common} value={chosen} onChange={(event) => change(path, choices[Number(event.target.value)]!.const)}>
      {chosen < 0 && <option value={-1}>{value === undefined ? '' : JSON.stringify(value)}</option>}
      {choices.map((choice, i) => (
        <option key={i} value={i}>{nameOf(choice)}</option>
      ))}
    </select>
  );
}

/** What a value has in it: members, elements, or that of the alternatives which it is. */
function Members({ schema, path }: { schema: Schema; path: Path }): ReactNode {
  const { value: whole, schemas, change } = useForm();
  const value = valueAt(whole, path);
  const control = controlOf(schema);
  if (control === 'either') {
    const alternatives = schema.oneOf!;
    const chosen = alternativeOf(schema, value);
    return (
      <div className={styles.members}>
        <select aria-label="Kind" value={chosen} onChange={(event) => change(path, startOf(alternatives[Number(event.target.value)]!, schemas))}>
          {alternatives.map(({ description, type }, i) => <option key={i} value={i}>{description ?? type}</option>)}
        </select>
        <Field key={chosen} schema={alternatives[chosen]!} path={path} name="value" isRequired />
      </div>
    );
  }
  if (control === 'list') {
    const elements = Array.isArray(value) ? value : [];
    const items = schema.items ?? {};
    return (
      <div className={styles.members}>
        {elements.map((_, i) => <Field key={`${elements.length} ${i}`} schema={items} path={[...path, i]} name={`${i}`} isRequired={false} />)}
        <button type="button" onClick={() => change([...path, elements.length], startOf(items, schemas))}>
          <Icon name="plus" size={16} /> Another
        </button>
      </div>
    );
  }
  const members = isOfType(schema.properties, 'object') ? Object.entries(schema.properties!) : [];
  return (
    <div className={styles.members}>
      {members.map(([name, member]) => (
        <Field key={name} schema={member} path={[...path, name]} name={name} isRequired={schema.required?.includes(name) ?? false} />
      ))}
      {members.length === 0 && <p className={styles.hint}>Nothing is read from it.</p>}
    </div>
  );
}
