import styles from './Guide.module.css';

/** Lengths of what could be on, in half hours. */
const lengths = [[2, 1, 1, 3], [1, 2, 3, 1], [4, 1, 2], [1, 1, 2, 3], [3, 2, 2], [2, 3, 1, 1]];

/** The shape of the guide, until it is there. */
export function GridShape() {
  return (
    <div className={styles.shape} aria-busy="true" aria-label="The guide is loading" role="status">
      {Array.from({ length: 14 }, (_, row) => (
        <div key={row} className={styles.shapeRow}>
          <i className={styles.shapeHeader} />
          {lengths[row % lengths.length]!.map((length, i) => (
            <i key={i} style={{ flex: length }} />
          ))}
        </div>
      ))}
    </div>
  );
}
