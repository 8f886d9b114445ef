import { useSyncExternalStore } from 'react';

/** A value that components show and others change. */
export class Topic<T> {
  readonly #listeners = new Set<() => void>();

  constructor(private value: T) {}

  readonly get = (): T => this.value;

  readonly set = (value: T): void => {
    if (Object.is(value, this.value)) return;
    this.value = value;
    for (const listener of [...this.#listeners]) listener();
  };

  /** Returns what ends the listening. */
  readonly listen = (listener: () => void): (() => void) => {
    this.#listeners.add(listener);
    return () => this.#listeners.delete(listener);
  };
}

export const useTopic = <T>(topic: Topic<T>): T => useSyncExternalStore(topic.listen, topic.get, topic.get);
