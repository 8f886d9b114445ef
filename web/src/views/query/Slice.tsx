import type { SliceRange } from '@ostrel/tv';
import styles from './ByForm.module.css';

interface SliceProps {
  range: SliceRange | undefined;
  onChange: (range: SliceRange | undefined) => void;
}

/** A page of what is found: from a place up to another. */
export function Slice({ range, onChange }: SliceProps) {
  const field = (label: string, member: 'base' | 'limit') => (
    <label className={styles.label}>
      {label}
      <input type="number" min={0} max={4294967295} value={range?.[member] ?? ''} placeholder={member === 'base' ? '0' : 'the end'}
        onChange={({ target }) => {
          const { [member]: _before, ...rest } = range ?? {};
          const changed = target.value === '' ? rest : { ...rest, [member]: Math.max(0, Math.trunc(target.valueAsNumber)) };
          onChange(Object.keys(changed).length > 0 ? changed : undefined);
        }} />
    </label>
  );
  return (
    <div className={styles.pair}>
      {field('From place', 'base')}
      {field('To before', 'limit')}
    </div>
  );
}
