/** A message of the page's own connection, as it travelled. */
export interface OwnMessage {
  /** Milliseconds since 1970-01-01 UTC, with a fraction. */
  at: number;
  direction: 'sent' | 'received';
  text: string;
}

const bound = 1 << 20;
const kept: OwnMessage[] = [];
const listeners = new Set<(message: OwnMessage) => void>();
let size = 0;

/** For the page's connection: what passes there. */
export function passed(direction: OwnMessage['direction'], text: string): void {
  const message = { at: performance.timeOrigin + performance.now(), direction, text };
  kept.push(message);
  size += text.length;
  while (size > bound) size -= kept.shift()!.text.length;
  for (const listener of [...listeners]) listener(message);
}

/** The latest that have passed, oldest first: a megabyte of them. */
export const passedLately = (): readonly OwnMessage[] => kept;

/** Returns what ends the listening. */
export function listenToOwn(listener: (message: OwnMessage) => void): () => void {
  listeners.add(listener);
  return () => listeners.delete(listener);
}
