import styles from './Shape.module.css';

/** The shape of something that is still to come. */
export function Shape({ width = '100%', height = 16 }: { width?: number | string; height?: number | string }) {
  return <span className={styles.shape} style={{ width, height }} aria-hidden="true" />;
}

/** The shape of so many lines or cards. */
export function Shapes({ count, height = 40 }: { count: number; height?: number }) {
  return (
    <div className={styles.several}>
      {Array.from({ length: count }, (_, i) => (
        <Shape key={i} height={height} />
      ))}
    </div>
  );
}
