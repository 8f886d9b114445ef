import { DecodeError, ServiceError, TimedOut, TvError } from '@ostrel/tv';
import type { CallLike } from './callAs';
import { CopyAs } from './CopyAs';
import styles from './Failure.module.css';
import { Icon } from './Icon';

/** The error's own words without the method before them. */
const textOf = (error: Error, method: string) => error.message.replace(`${method}: `, '');

interface FailureProps {
  error: Error;
  /** What was called, to be tried elsewhere. */
  call: CallLike;
  /** Tries it again; without it that is not offered. */
  onRetry?: (() => void) | undefined;
}

/** Says that a call has failed, and all that the service said of it. */
export function Failure({ error, call, onRetry }: FailureProps) {
  const method = (error instanceof TvError && error.method) || call.method; // of several calls that make an answer one fails
  const facts: [string, string | number | undefined][] = [
    ['Method', method],
    ['Code', error instanceof ServiceError ? error.code : error instanceof DecodeError ? -32602 : undefined],
    ['Result', error.name],
    ['Member', error instanceof ServiceError || error instanceof DecodeError ? error.member : undefined],
  ];
  const title = error instanceof TimedOut ? 'No reply came in time' : 'The service refused the call';
  return (
    <section className={styles.failure} role="alert">
      <h2>
        <Icon name="warning" /> {title}
      </h2>
      <p>{textOf(error, method)}</p>
      <dl className={styles.facts}>
        {facts.map(([name, value]) => value !== undefined && (
          <div key={name}>
            <dt>{name}</dt>
            <dd>
              <code>{value}</code>
            </dd>
          </div>
        ))}
      </dl>
      <div className={styles.ways}>
        {onRetry !== undefined && (
          <button onClick={onRetry}>
            <Icon name="reload" size={16} /> Try again
          </button>
        )}
        <CopyAs call={call} />
      </div>
    </section>
  );
}
