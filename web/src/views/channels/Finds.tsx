import { useState } from 'react';
import type { Operation } from './cursor';
import styles from './Operations.module.css';
import { Why } from './Why';

/** Leads the cursor to a service that is told by its number or its URI. */
export function Finds({ act }: { act: (operation: Operation) => unknown }) {
  const [number, setNumber] = useState('');
  const [uri, setUri] = useState('');
  const byNumber = () => act({ name: 'serviceListSeekByChannelNumber', payload: { channelNumber: Number(number) } });
  const byUri = () => act({ name: 'serviceListSeekByUri', payload: { uri } });
  return (
    <>
      <form className={styles.line} onSubmit={(event) => (event.preventDefault(), byNumber())}>
        <label htmlFor="number">Number</label>
        <input id="number" type="number" required min={0} max={4294967295} value={number} onChange={(event) => setNumber(event.target.value)} />
        <button aria-label="Find the number">Find</button>
      </form>
      <form className={styles.line} onSubmit={(event) => (event.preventDefault(), byUri())}>
        <label htmlFor="uri">URI</label>
        <input id="uri" required spellCheck={false} autoCapitalize="off" autoComplete="off" value={uri} placeholder="dvb://233a..1041"
          onChange={(event) => setUri(event.target.value)} />
        <button aria-label="Find the URI">Find</button>
        <Why of={['uri']} />
      </form>
    </>
  );
}
