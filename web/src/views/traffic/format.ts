import { formatSeconds, type Zone } from '../../parts/time';

/** `12:09:03.921` */
export function formatMoment(time: number, zone: Zone): string {
  const millis = Math.floor(time * 1000 + 0.001);
  return `${formatSeconds(Math.floor(millis / 1000), zone)}.${String(millis % 1000).padStart(3, '0')}`;
}

/** `0.42 ms`, `12 ms`, `1.24 s` */
export function formatTook(micros: number): string {
  if (micros < 10_000) return `${(micros / 1000).toFixed(2)} ms`;
  if (micros < 1_000_000) return `${Math.round(micros / 1000)} ms`;
  return `${(micros / 1_000_000).toFixed(micros < 10_000_000 ? 2 : 1)} s`;
}

/** `103 B`, `12.4 kB`, `10.1 MB` */
export function formatBytes(bytes: number): string {
  if (bytes < 1000) return `${bytes} B`;
  const [size, unit] = bytes < 999_950 ? [bytes / 1000, 'kB'] : [bytes / 1_000_000, 'MB'];
  return `${size < 100 ? size.toFixed(1) : Math.round(size)} ${unit}`;
}

/** `1,204` */
export const formatCount = (count: number): string => count.toLocaleString('en-GB');
