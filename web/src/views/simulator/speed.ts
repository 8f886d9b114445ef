/** The fastest that the service's clock runs. */
export const fastest = 3600;
/** The slowest that the slider knows beside standing still. */
const slowest = 0.1;
/** The slider's last position; its first, 0, holds the clock. */
export const lastPosition = 100;

/** Speeds that the slider meets exactly, with what they are for people. */
export const marks: readonly (readonly [speed: number, text: string])[] = [
  [0, 'still'],
  [1, '1'],
  [10, '10'],
  [60, '60'],
  [600, '600'],
  [3600, '3600'],
];

const perPosition = Math.log(fastest / slowest) / (lastPosition - 1);

/** Where the slider stands at a speed: the same factor is the same way, and 0 has a place of its own. */
export function positionOf(speed: number): number {
  if (speed <= 0) return 0;
  const position = 1 + Math.log(speed / slowest) / perPosition;
  return Math.min(Math.max(Math.round(position), 1), lastPosition);
}

/** The speed at a position, in two figures. */
export function speedAt(position: number): number {
  const mark = marks.find(([speed]) => positionOf(speed) === position);
  if (mark !== undefined) return mark[0];
  return Number((slowest * Math.exp((position - 1) * perPosition)).toPrecision(2));
}

/** A speed in words: what passes in a second. */
export function speedText(speed: number): string {
  if (speed === 0) return 'stands still';
  if (speed === 1) return 'runs as usual';
  if (speed < 1) return `${speed} s in a second`;
  if (speed < 60) return `${speed} s in a second`;
  if (speed < 3600) return `${Number((speed / 60).toPrecision(3))} min in a second`;
  return 'an hour in a second';
}
