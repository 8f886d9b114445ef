import { useEffect, useRef } from 'react';
import { Topic, useTopic } from './Topic';

/** A key of a view, or of the whole page. */
export interface Shortcut {
  /** As `KeyboardEvent.key` has it, or several of them. */
  key: string | readonly string[];
  /** How the key is written for people; the key itself where that is left out. */
  label?: string;
  /** What it does: "A day back". */
  does: string;
  /** Left out where the key is handled where the focus is, and only listed here. */
  run?: (event: KeyboardEvent) => void;
}

/** What the list of keys shows, group by group. */
const shortcutGroups = new Topic<readonly (readonly [group: string, shortcuts: readonly Shortcut[]])[]>([]);
export const useShortcutGroups = () => useTopic(shortcutGroups);

const isTyping = (target: EventTarget | null) =>
  target instanceof HTMLElement &&
  (target.isContentEditable ||
    target instanceof HTMLTextAreaElement ||
    target instanceof HTMLSelectElement ||
    (target instanceof HTMLInputElement && !['checkbox', 'radio', 'button', 'range'].includes(target.type)));

/** Whether the element does something of its own at that key, as a button does at the space bar. */
const answers = (target: EventTarget | null, key: string) =>
  target instanceof Element &&
  ((key === ' ' && target.matches('button, summary, input')) || (key === 'Enter' && target.matches('button, summary, input, a[href]')));

/**
 * Lets keys do something while the component is there, and lists them behind `?`. They are left alone while somebody
 * types, or a dialog is open, where what has the focus needs them, and where they were handled already.
 */
export function useShortcuts(group: string, shortcuts: readonly Shortcut[]): void {
  const latest = useRef(shortcuts);
  latest.current = shortcuts;
  const texts = JSON.stringify(shortcuts.map(({ key, label, does }) => [key, label, does]));
  useEffect(() => {
    const own = [group, latest.current] as const;
    shortcutGroups.set([...shortcutGroups.get(), own]);
    return () => shortcutGroups.set(shortcutGroups.get().filter((other) => other !== own));
  }, [group, texts]);
  useEffect(() => {
    const onKeyDown = (event: KeyboardEvent) => {
      if (event.defaultPrevented || event.altKey || event.ctrlKey || event.metaKey) return;
      if (isTyping(event.target) || answers(event.target, event.key)) return;
      if (document.querySelector('dialog:modal') !== null) return;
      const found = latest.current.find(({ key, run }) => run !== undefined && [key].flat().includes(event.key));
      if (found === undefined) return;
      event.preventDefault();
      found.run?.(event);
    };
    document.addEventListener('keydown', onKeyDown);
    return () => document.removeEventListener('keydown', onKeyDown);
  }, []);
}
