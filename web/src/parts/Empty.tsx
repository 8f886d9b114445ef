import type { ReactNode } from 'react';
import styles from './Empty.module.css';
import { Icon, type IconName } from './Icon';

interface EmptyProps {
  icon: IconName;
  title: string;
  /** What to do about it: a sentence, a button. */
  children?: ReactNode;
}

/** Where there is nothing to show: says so, and what to do. */
export function Empty({ icon, title, children }: EmptyProps) {
  return (
    <section className={styles.empty}>
      <Icon name={icon} size={40} />
      <h2>{title}</h2>
      {children}
    </section>
  );
}
