import { useState } from 'react';
import { Icon } from '../../parts/Icon';
import { useTopic } from '../../parts/Topic';
import { addTransponder, type ScanAction } from './actions';
import { added } from './added';
import styles from './Scan.module.css';

interface TranspondersProps {
  /** Gives whether it came about. */
  act: (action: ScanAction) => Promise<boolean>;
  onClear: () => void;
}

const mostKHz = 4294967295;

/** What a scan over the list goes over: added to and emptied, but never read. */
export function Transponders({ act, onClear }: TranspondersProps) {
  const own = useTopic(added);
  const [text, setText] = useState('');
  const frequencyKHz = Number(text);
  const isGood = /^\d+$/.test(text) && frequencyKHz <= mostKHz;
  const frequencyMHz = Math.floor(frequencyKHz / 1000);
  const add = async (event: React.FormEvent) => {
    event.preventDefault();
    if (!isGood || !(await act(addTransponder(frequencyKHz)))) return;
    added.set([...added.get(), frequencyMHz].sort((one, other) => one - other));
    setText('');
  };
  return (
    <section className={styles.card} aria-labelledby="transponders">
      <h2 id="transponders">Transponder list</h2>
      <p className={styles.note}>
        The service takes frequencies, but cannot be asked which it has. A scan adds each one on which it finds something, even if it is there
        already.
      </p>
      <form className={styles.add} onSubmit={(event) => void add(event)}>
        <label>
          Add
          <input inputMode="numeric" required pattern="[0-9]+" aria-label="Frequency in kHz" placeholder="690000" autoComplete="off" value={text} onChange={(event) => setText(event.target.value.trim())} />
          kHz
        </label>
        <button><Icon name="plus" size={16} /> Add</button>
        {isGood && frequencyKHz % 1000 !== 0 && <p className={styles.note}>Taken down to {frequencyMHz} MHz.</p>}
        {text !== '' && !isGood && <p className={styles.note}>A whole number of kHz, please.</p>}
      </form>
      {own.length > 0 && (
        <>
          <h3 className={styles.note}>Added from this page</h3>
          <ul className={styles.chips} aria-label="Added from this page">
            {own.map((frequency, place) => <li key={place}>{frequency} MHz</li>)}
          </ul>
        </>
      )}
      <button onClick={onClear}><Icon name="trash" size={16} /> Empty the list…</button>
    </section>
  );
}
