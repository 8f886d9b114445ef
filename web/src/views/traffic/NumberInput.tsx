import { useState } from 'react';
import { parseNumber } from './form';

interface NumberInputProps {
  id: string;
  value: unknown;
  onChange: (value: number | string | undefined) => void;
}

/** Takes a number as somebody types it: what is none yet is kept as a text, and found out by the check. */
export function NumberInput({ value, onChange, ...rest }: NumberInputProps) {
  const [typed, type] = useState('');
  const text = value !== undefined && parseNumber(typed) === value ? typed : value === undefined ? '' : String(value);
  return (
    <input {...rest} type="text" inputMode="decimal" autoComplete="off" value={text}
      onChange={(event) => {
        type(event.target.value);
        onChange(parseNumber(event.target.value) ?? '');
      }} />
  );
}
