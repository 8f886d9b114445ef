import styles from './Table.module.css';

/** The cursor: a line before the service that stands at it. */
export function CursorLine({ position, count, top }: { position: number; count: number; top: number }) {
  return (
    <div className={styles.cursor} role="presentation" style={{ transform: `translateY(${top}px)` }} data-cursor="">
      <span className={styles.handle}>
        {position}
        {position === count && ' end'}
        {position > count && ` beyond the end, ${count}`}
      </span>
    </div>
  );
}
