import styles from './Tile.module.css';

/** A colour that a name always has: a hue of 360, for the tile's ground. */
export function hueOf(name: string): number {
  let hash = 2166136261;
  for (const letter of name) hash = Math.imul(hash ^ letter.codePointAt(0)!, 16777619);
  return (hash >>> 0) % 360;
}

/** Up to three letters that stand for a name: `BO` for "BBC ONE", `C4` for "Channel 4", `DAV` for "Dave". */
export function lettersOf(name: string): string {
  const words = name.split(/[^\p{L}\p{N}]+/u).filter(Boolean);
  if (words.length === 0) return '?';
  const [first, ...others] = words as [string, ...string[]];
  if (others.length === 0) return [...first].slice(0, 3).join('');
  return [[...first][0], ...others.map((word) => (/^\d+$/.test(word) ? word : [...word][0]))].join('').slice(0, 3);
}

/** Stands for a service's logo beside its name. */
export function Tile({ name, size = 32 }: { name: string; size?: number }) {
  return (
    <span className={styles.tile} aria-hidden="true" style={{ '--hue': hueOf(name), '--size': `${size}px` } as React.CSSProperties}>
      {lettersOf(name).toUpperCase()}
    </span>
  );
}
