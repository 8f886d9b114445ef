import { useState } from 'react';
import { Empty } from '../parts/Empty';
import { token } from './service';
import { goOnWithToken } from './token';
import styles from './KeptOut.module.css';

/** Asks for the token of a service that wants another than the page has. */
export function KeptOut() {
  const [text, setText] = useState('');
  return (
    <Empty icon="lock" title={token === undefined ? 'This service wants a token' : 'The token is not taken any more'}>
      <p>It is the line in the file that the service was started with as its <code>--token-file</code>. This tab keeps it.</p>
      <form className={styles.form} onSubmit={(event) => (event.preventDefault(), goOnWithToken(text.trim()))}>
        <input type="password" aria-label="Token" autoComplete="off" value={text} autoFocus
          onChange={(event) => setText(event.target.value)} />
        <button data-kind="primary" disabled={!/^[\w-]{32,}$/.test(text.trim())}>
          Connect
        </button>
      </form>
    </Empty>
  );
}
