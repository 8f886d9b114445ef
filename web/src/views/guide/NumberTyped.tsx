import type { ServiceInfo } from '@ostrel/tv';
import styles from './Guide.module.css';

/** The number that is being typed, large, and whose it is. */
export function NumberTyped({ text, service }: { text: string; service: ServiceInfo | undefined }) {
  return (
    <div role="status" className={styles.numberPlace}>
      {text !== '' && (
        <p className={styles.numberTyped}>
          <b>{text}</b> <span>{service?.name ?? '–'}</span>
        </p>
      )}
    </div>
  );
}
