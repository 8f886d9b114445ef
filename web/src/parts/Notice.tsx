import styles from './Notice.module.css';
import { Topic, useTopic } from './Topic';

interface Notice {
  text: string;
  /** A command or the like, in letters of one width. */
  code: string | undefined;
  number: number;
}

const notice = new Topic<Notice | undefined>(undefined);
let timer: ReturnType<typeof setTimeout> | undefined;

/** Says for some seconds what has been done. @param code  the command that does the same, where there is one */
export function say(text: string, code?: string): void {
  clearTimeout(timer);
  notice.set({ text, code, number: (notice.get()?.number ?? 0) + 1 });
  timer = setTimeout(() => notice.set(undefined), 6000);
}

/** Where say() is shown; one for the page. */
export function Notices() {
  const current = useTopic(notice);
  return (
    <div className={styles.place} role="status">
      {current !== undefined && (
        <p key={current.number} className={styles.notice}>
          {current.text}
          {current.code !== undefined && <code>{current.code}</code>}
        </p>
      )}
    </div>
  );
}
