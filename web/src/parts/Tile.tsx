import styles from './Tile.module.css';

/** A colour that a name always has: a hue of 360, for the tile's ground. */
export function hueOf(name: string): number {
  let hash = 2166136261;
  for (const letter of name) hash = Math.imul(hash ^ letter.codePointAt(0)!, 16777619);
  return (hash >>> 0) % 360;
}

/** Channels that count in words would all have the letters of their neighbours. */
const digits = new Map([['one', '1'], ['two', '2'], ['three', '3'], ['four', '4'], ['five', '5'], ['six', '6'], ['seven', '7']]);

/** Up to four letters that stand for a name: `B1` for "BBC ONE", `F4` for "Film4", `DAV` for "Dave"; `ITV1` as it is. */
export function lettersOf(name: string): string {
  const words = name.match(/[\p{L}\p{N}]+/gu) ?? name.match(/\p{Extended_Pictographic}/u) ?? ['?'];
  const [first] = words as [string];
  if (words.length === 1 && /\d/.test(first) && first.length <= 4) return first;
  const parts = words.length === 1 ? first.match(/\d+|\D+/g)! : words;
  if (parts.length === 1) return [...first].slice(0, 3).join('');
  return parts.map((part) => (/^\d+$/.test(part) ? part : (digits.get(part.toLowerCase()) ?? [...part][0]))).join('').slice(0, 3);
}

/** How many letters of the Latin alphabet they are as wide as: an ideograph is nearly as wide as two. */
const widthOf = (letters: string) =>
  [...letters].reduce((width, letter) => width + (/[\u1100-\u11FF\u2E80-\uFFEF]|[^\u0000-\uFFFF]/u.test(letter) ? 1.7 : 1), 0);

/** Stands for a service's logo beside its name. */
export function Tile({ name, size = 32 }: { name: string; size?: number }) {
  const letters = lettersOf(name);
  const shape = { '--hue': hueOf(name), '--size': `${size}px`, '--letters': Math.max(widthOf(letters), 2) } as React.CSSProperties;
  return (
    <span className={styles.tile} aria-hidden="true" style={shape}>
      {letters.toUpperCase()}
    </span>
  );
}
