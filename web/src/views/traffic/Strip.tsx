import { useEffect, useState } from 'react';
import { log, now } from './feed';
import { formatCount, formatTook } from './format';
import { buckets, draw, sumOf } from './Minute';
import styles from './Strip.module.css';

/** The last minute: how much passed, what failed, and how slow the slowest was. */
export function Strip() {
  const [, tick] = useState(0);
  useEffect(() => {
    const timer = setInterval(() => tick((n) => n + 1), 500);
    return () => clearInterval(timer);
  }, []);
  const minute = log.minute.upTo(now());
  const { messages, errors, slowest } = draw(minute);
  const sum = sumOf(minute);
  const figures: [string, string, string][] = [
    ['rate', formatCount(sum.rate), 'a second'],
    ['messages', formatCount(sum.messages), sum.messages === 1 ? 'message' : 'messages'],
    ['errors', formatCount(sum.errors), sum.errors === 1 ? 'error' : 'errors'],
    ['slowest', sum.slowest === 0 ? '–' : formatTook(sum.slowest), 'slowest'],
  ];
  return (
    <section className={styles.strip} aria-label="The last minute">
      <div className={styles.chart}>
        <svg viewBox={`0 0 ${buckets} 100`} preserveAspectRatio="none" aria-hidden="true">
          <path className={styles.messages} d={messages} />
          <path className={styles.errors} d={errors} />
          <path className={styles.slowest} d={slowest} vectorEffect="non-scaling-stroke" />
        </svg>
        <span className={styles.from}>a minute ago</span>
        <span className={styles.to}>now</span>
      </div>
      <dl className={styles.figures}>
        {figures.map(([kind, figure, what]) => (
          <div key={kind} data-kind={kind} data-none={figure === '0' || undefined}>
            <dt>{what}</dt>
            <dd>{figure}</dd>
          </div>
        ))}
      </dl>
    </section>
  );
}
