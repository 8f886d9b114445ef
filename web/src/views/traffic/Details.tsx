import { useMemo } from 'react';
import { useZone } from '../../app/settings';
import { copyText } from '../../parts/copy';
import { CopyAs } from '../../parts/CopyAs';
import { Icon } from '../../parts/Icon';
import { Badge } from './Badge';
import styles from './Details.module.css';
import { nameOf } from './feed';
import { formatBytes, formatMoment, formatTook } from './format';
import { JsonTree } from './JsonTree';
import { askedOf, isCut, type Message } from './message';
import { type Entry, messageOf } from './TrafficLog';

/** A message as a tree, or as it came where it is no JSON: because it was cut, or never was any. */
function Side({ title, message, absent }: { title: string; message: Message | undefined; absent: string }) {
  const text = message?.text;
  const parsed = useMemo(() => {
    try {
      return text === undefined ? undefined : { value: JSON.parse(text) as unknown };
    } catch {
      return undefined;
    }
  }, [text]);
  return (
    <section className={styles.side} aria-label={title}>
      <header>
        <h3>{title}</h3>
        {message !== undefined && <span>{formatBytes(message.bytes)}</span>}
        {message !== undefined && (
          <button data-kind="quiet" onClick={() => void copyText(message.text, `the ${title.toLowerCase()}`)} aria-label={`Copy the ${title.toLowerCase()}`}>
            <Icon name="copy" size={16} />
          </button>
        )}
      </header>
      {message === undefined && <p className={styles.absent}>{absent}</p>}
      {message !== undefined && isCut(message) && (
        <p className={styles.cut}>The service shows the first 16 KiB of {formatBytes(message.bytes)}; this is how it begins.</p>
      )}
      {parsed !== undefined && <JsonTree key={text} value={parsed.value} label={title} />}
      {message !== undefined && parsed === undefined && <pre tabIndex={0} aria-label={`${title} as it travelled`}>{message.text}</pre>}
    </section>
  );
}

const absence: Readonly<Record<string, string>> = {
  waiting: 'It is still under way.',
  'no reply': 'Nobody has answered, and nobody will: later calls of this client have their replies, or it has been too long.',
  'not asked': 'It has no id, so it wants none.',
};

interface DetailsProps {
  entry: Entry;
  /** Sends it again, from here. */
  onAgain: (call: { method: string; payload: unknown; from: string }) => void;
  onClose: () => void;
}

/** A call with its request and its reply beside each other, or a notification. */
export function Details({ entry, onAgain, onClose }: DetailsProps) {
  const zone = useZone();
  const { kind, request, reply, outcome, text } = entry;
  const message = messageOf(entry);
  const asked = request === undefined ? undefined : askedOf(request.text);
  const method = message?.method || (message === undefined ? text! : 'No request');
  const facts = message === undefined ? [] : [nameOf(message) || formatMoment(message.time, zone), kind === 'call' && reply !== undefined && formatTook(reply.micros)];
  return (
    <section className={styles.details} aria-label="Details">
      <header className={styles.head}>
        <h2>{method}</h2>
        {message !== undefined && <Badge entry={entry} />}
        {facts.map((fact) => fact && <span key={fact} className={styles.fact}>{fact}</span>)}
        <span className={styles.ways}>
          {asked !== undefined && (
            <>
              <CopyAs call={{ method, payload: asked.payload }} />
              <button onClick={() => onAgain({ method, payload: asked.payload, from: nameOf(request!) })}>
                <Icon name="reload" size={16} /> Call again
              </button>
            </>
          )}
          <button data-kind="quiet" className={styles.close} onClick={onClose} aria-label="Close the details" title="Close (Esc)">
            <Icon name="close" />
          </button>
        </span>
      </header>
      {message !== undefined && (
        <div className={styles.sides}>
          {kind === 'call' && <Side title="Request" message={request} absent="It had passed before anybody looked." />}
          <Side title={kind === 'call' ? 'Reply' : 'Notification'} message={reply} absent={absence[outcome.kind] ?? ''} />
        </div>
      )}
    </section>
  );
}
