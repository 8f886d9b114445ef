import { useId, useLayoutEffect, useRef, useState } from 'react';
import { classes } from '../../parts/classes';
import type { Expression } from '../../quoril/expression';
import type { Known } from './complete';
import styles from './Editor.module.css';
import { paint } from './paint';
import { Suggestions } from './Suggestions';
import { useCompletion } from './useCompletion';

interface EditorProps {
  text: string;
  expression: Expression;
  known: Known;
  /** What is said of the text, for those who do not see it. */
  describedBy: string;
  onChange: (text: string) => void;
  onRun: () => void;
  /** To a query of before, or back. */
  onHistory: (step: 1 | -1) => void;
  /** Takes the field, for others to write in. */
  fieldRef: React.RefObject<HTMLTextAreaElement | null>;
}

/** A field for an expression, in the colours of what it reads as. */
export function Editor({ text, expression, known, describedBy, onChange, onRun, onHistory, fieldRef }: EditorProps) {
  const ink = useRef<HTMLPreElement>(null);
  const list = useId();
  const completion = useCompletion(fieldRef, text, known);
  const [place, setPlace] = useState({ left: 0, top: 0 });
  const { from, active } = completion;
  useLayoutEffect(() => {
    if (from !== undefined && ink.current !== null) setPlace(placeOf(ink.current, from));
  }, [from, text]);

  const onKeyDown = (event: React.KeyboardEvent) => {
    if (event.nativeEvent.isComposing || completion.onKey(event)) return;
    if (event.key === 'Enter') {
      event.preventDefault(); // a line break is none of the language's blanks
      completion.close();
      onRun();
    } else if (event.altKey && (event.key === 'ArrowUp' || event.key === 'ArrowDown')) {
      event.preventDefault();
      onHistory(event.key === 'ArrowUp' ? 1 : -1);
    }
  };
  const { mistake } = expression;
  const isWrong = mistake !== null && mistake.at < text.length;
  return (
    <div className={styles.editor} data-wrong={isWrong || undefined}>
      <pre ref={ink} className={styles.ink} aria-hidden="true">
        {paint(text, expression).map((piece, i) => (
          <span key={i} className={classes(styles[piece.ink], piece.isWrong && styles[piece.text ? 'wrong' : 'missing'])}>
            {piece.text}
          </span>
        ))}
        {'\u200b'}
      </pre>
      <textarea ref={fieldRef} className={styles.text} value={text} maxLength={8000} rows={2} aria-label="Expression"
        aria-autocomplete="list" aria-haspopup="listbox" aria-controls={from === undefined ? undefined : list}
        aria-activedescendant={active === undefined ? undefined : `${list}-${active}`}
        aria-invalid={isWrong} aria-describedby={describedBy}
        spellCheck={false} autoCapitalize="off" autoCorrect="off" autoComplete="off"
        onChange={(event) => {
          onChange(event.target.value);
          completion.look(event.target);
        }}
        onKeyDown={onKeyDown} onBlur={completion.close} onClick={completion.close} />
      {from !== undefined && (
        <Suggestions id={list} suggestions={completion.suggestions} active={active} place={place} onTake={completion.take} />
      )}
    </div>
  );
}

/** Below a letter of the painted text, in pixels of its box. */
function placeOf(ink: HTMLElement, at: number): { left: number; top: number } {
  const box = ink.getBoundingClientRect();
  const walker = document.createTreeWalker(ink, NodeFilter.SHOW_TEXT);
  for (let node = walker.nextNode(); node !== null; node = walker.nextNode()) {
    const length = node.textContent?.length ?? 0;
    if (at <= length) {
      const range = document.createRange();
      range.setStart(node, at);
      range.collapse(true);
      const letter = range.getBoundingClientRect();
      return { left: Math.max(0, Math.min(letter.left - box.left, box.width - 280)), top: letter.bottom - box.top };
    }
    at -= length;
  }
  return { left: 0, top: box.height };
}
