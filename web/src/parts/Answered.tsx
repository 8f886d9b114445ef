import type { Answer } from '@ostrel/tv/react';
import type { ReactNode } from 'react';
import styles from './Answered.module.css';
import type { CallLike } from './callAs';
import { Failure } from './Failure';

interface AnsweredProps<T> {
  answer: Answer<T>;
  /** What was asked. */
  call: CallLike;
  /** The shape of what comes, shown until it is there. */
  shape: ReactNode;
  children: (data: T) => ReactNode;
}

/** Shows an answer in whatever state it is: its shape, itself, greyed while nobody can be asked, or why it failed. */
export function Answered<T>({ answer, call, shape, children }: AnsweredProps<T>) {
  const { data, error, state, reload } = answer;
  if (state === 'failed' && error !== undefined) return <Failure error={error} call={call} onRetry={reload} />;
  if (data === undefined) return <div aria-busy="true" className={styles.shape}>{shape}</div>;
  return <div className={state === 'disconnected' ? styles.old : styles.new}>{children(data)}</div>;
}
