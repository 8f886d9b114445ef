import { useId, useState } from 'react';
import { classes } from '../../parts/classes';
import { Icon } from '../../parts/Icon';
import styles from './ByForm.module.css';

interface ChipsProps<T> {
  label: string;
  placeholder: string;
  chosen: readonly T[];
  /** How one is said. */
  say: (item: T) => string;
  /** What may be chosen; any text where there are none. */
  offered?: readonly string[];
  /** What a text stands for; undefined where it is nothing. */
  read: (text: string) => T | undefined;
  onChange: (chosen: T[]) => void;
}

/** A few of many: a field to add one, and each with a button that takes it out. */
export function Chips<T extends string | number>({ label, placeholder, chosen, say, offered, read, onChange }: ChipsProps<T>) {
  const [text, setText] = useState('');
  const list = useId();
  const item = text === '' ? undefined : read(text);
  const add = (added: T) => {
    if (!chosen.includes(added)) onChange([...chosen, added]);
    setText('');
  };
  return (
    <div className={styles.chips}>
      <label className={styles.label}>
        {label}
        <input value={text} list={offered && list} placeholder={placeholder} aria-invalid={(offered && text !== '' && item === undefined) || undefined}
          onChange={({ target }) => {
            const picked = offered?.includes(target.value) ? read(target.value) : undefined;
            if (picked === undefined) setText(target.value);
            else add(picked);
          }}
          onKeyDown={(event) => {
            if (event.key !== 'Enter' || text === '') return;
            event.preventDefault(); // it adds, and does not ask yet
            if (item !== undefined) add(item);
          }} />
      </label>
      <button type="button" aria-label={`Add to ${label.toLowerCase()}`} disabled={item === undefined} onClick={() => item !== undefined && add(item)}>
        <Icon name="plus" size={16} />
      </button>
      {offered && (
        <datalist id={list}>
          {offered.map((one) => (
            <option key={one} value={one} />
          ))}
        </datalist>
      )}
      {chosen.length > 0 && (
        <ul aria-label={`Chosen ${label.toLowerCase()}`}>
          {chosen.map((one) => (
            <li key={one}>
              <button type="button" className={classes('chip', styles.chip)} aria-label={`Take out ${say(one)}`} onClick={() => onChange(chosen.filter((other) => other !== one))}>
                {say(one)} <Icon name="close" size={14} />
              </button>
            </li>
          ))}
        </ul>
      )}
    </div>
  );
}
