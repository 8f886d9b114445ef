import type { ServiceInfo } from '@ostrel/tv';
import { useRef, useState } from 'react';
import { Icon } from '../../parts/Icon';
import { useShortcuts } from '../../parts/shortcuts';
import type { Base, Operation, Outcome } from './cursor';
import { given } from './cursor';
import { DeleteOne } from './DeleteOne';
import { Finds } from './Finds';
import styles from './Operations.module.css';
import { Reading } from './Reading';
import { Why } from './Why';

interface OperationsProps {
  services: readonly ServiceInfo[] | undefined;
  position: number | undefined;
  /** No list is selected, and not about to be. */
  isLost: boolean;
  base: Base;
  /** Nobody can be asked. */
  isAway: boolean;
  act: (operation: Operation) => Promise<Outcome>;
}

const whences = [[0, 'from start'], [1, 'from cursor'], [2, 'from end'], [3, 'whence 3']] as const;
const most = 4294967295;

/** Where the cursor stands, and all that moves it or uses it. */
export function Operations({ services, position, isLost, base, isAway, act }: OperationsProps) {
  const [offset, setOffset] = useState('1');
  const [whence, setWhence] = useState('1');
  const [limit, setLimit] = useState('5');
  const [doomed, doom] = useState<ServiceInfo>();
  const form = useRef<HTMLFormElement>(null);
  const seek = (offset: number, whence: number) => void act({ name: 'serviceListSeek', payload: { offset, whence } });
  const take = (name: 'serviceListRead' | 'serviceListGet') => {
    if (form.current?.reportValidity()) void act({ name, payload: { limit: Number(limit) } });
  };
  /** Asks before something goes, and so looks first at what would: the table may be of before. */
  const remove = async () => {
    if (base === 'all') {
      const [service] = given(await act({ name: 'serviceListGet', payload: { limit: 1 } }));
      if (service !== undefined) return doom(service);
    }
    await act({ name: 'serviceListDelete', payload: undefined });
  };
  useShortcuts('Cursor', isAway ? [] : [
    { key: ',', does: 'Back by one', run: () => seek(-1, 1) },
    { key: '.', does: 'On by one', run: () => seek(1, 1) },
    { key: '<', does: 'To the start', run: () => seek(0, 0) },
    { key: '>', does: 'To the end', run: () => seek(0, 2) },
    { key: 'r', does: 'Read services, which moves the cursor', run: () => take('serviceListRead') },
    { key: 'g', does: 'Get services, which leaves it', run: () => take('serviceListGet') },
    { key: 'Delete', does: 'Delete the service at the cursor', run: () => void remove() },
  ]);
  return (
    <fieldset className={styles.operations} disabled={isAway}>
      <legend className="visually-hidden">Operations</legend>
      <Reading services={services} position={position} isLost={isLost} />
      <div className={styles.steps} role="group" aria-label="Move the cursor">
        <button onClick={() => seek(0, 0)} title="To the start (<)"><Icon name="start" size={16} /> Start</button>
        <button onClick={() => seek(-1, 1)} title="Back by one (,)"><Icon name="left" size={16} /> Back</button>
        <button onClick={() => seek(1, 1)} title="On by one (.)">On <Icon name="right" size={16} /></button>
        <button onClick={() => seek(0, 2)} title="To the end (>)">End <Icon name="step" size={16} /></button>
      </div>
      <form className={styles.line} onSubmit={(event) => (event.preventDefault(), seek(Number(offset), Number(whence)))}>
        <label htmlFor="offset">Seek</label>
        <span className={styles.fields}>
          <input id="offset" type="number" required min={-2147483648} max={2147483647} value={offset} aria-label="Offset in services"
            onChange={(event) => setOffset(event.target.value)} />
          <select aria-label="Counted from" value={whence} onChange={(event) => setWhence(event.target.value)}>
            {whences.map(([value, words]) => <option key={value} value={value}>{words}</option>)}
          </select>
        </span>
        <button>Seek</button>
        <Why of={['whence']} />
      </form>
      <Finds act={act} />
      <form ref={form} className={styles.line} onSubmit={(event) => (event.preventDefault(), take('serviceListRead'))}>
        <label htmlFor="limit">Take</label>
        <input id="limit" type="number" required min={0} max={most} value={limit} aria-label="How many services"
          onChange={(event) => setLimit(event.target.value)} />
        <span className={styles.pair}>
          <button title="Moves the cursor behind them (r)">Read</button>
          <button type="button" title="Leaves the cursor (g)" onClick={() => take('serviceListGet')}>Get</button>
        </span>
        <Why of={['limit', 'read']} />
      </form>
      <div className={styles.remove}>
        <button onClick={() => void remove()}><Icon name="trash" size={16} /> Delete the one at the cursor</button>
        <Why of={['remove']} />
      </div>
      {doomed !== undefined && (
        <DeleteOne service={doomed} onClose={() => doom(undefined)} onConfirm={() => void act({ name: 'serviceListDelete', payload: undefined })} />
      )}
    </fieldset>
  );
}
