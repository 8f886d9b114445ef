import { useCallback, useEffect, useRef, useState } from 'react';

/** How long a number waits for another digit, in milliseconds. */
const patience = 1500;

const mostDigits = 4;

/** The number that is typed on a remote control, digit by digit. */
export interface Digits {
  /** Empty while none is typed. */
  readonly text: string;
  readonly type: (digit: string) => void;
  /** Takes what is typed without waiting. */
  readonly take: () => void;
  readonly clear: () => void;
}

/** @param onNumber  called with a number once no more digits come */
export function useDigits(onNumber: (number: number) => void): Digits {
  const [text, setText] = useState('');
  const latest = useRef({ text, onNumber });
  latest.current = { text, onNumber };
  const take = useCallback(() => {
    if (latest.current.text !== '') latest.current.onNumber(Number(latest.current.text));
    setText('');
  }, []);
  useEffect(() => {
    if (text === '') return;
    const timer = setTimeout(take, patience);
    return () => clearTimeout(timer);
  }, [text, take]);
  const type = useCallback((digit: string) => setText((before) => (before + digit).slice(-mostDigits)), []);
  const clear = useCallback(() => setText(''), []);
  return { text, type, take, clear };
}
