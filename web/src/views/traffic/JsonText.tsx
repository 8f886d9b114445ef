import { useState } from 'react';
import styles from './CallDesk.module.css';

interface JsonTextProps {
  /** What this is of the request. */
  label: string;
  value: unknown;
  onChange: (value: unknown) => void;
}

const write = (value: unknown) => (value === undefined ? '' : JSON.stringify(value, null, 2));

/** What is sent, as JSON, which can be written here as well: also what no field lets in. */
export function JsonText({ label, value, onChange }: JsonTextProps) {
  const [draft, setDraft] = useState<{ text: string; value: unknown; problem: string }>();
  const isOwn = draft !== undefined && (draft.problem !== '' || draft.value === value);
  const text = isOwn ? draft.text : write(value);
  const edit = (text: string) => {
    try {
      const value = text.trim() === '' ? undefined : (JSON.parse(text) as unknown);
      setDraft({ text, value, problem: '' });
      onChange(value);
    } catch (error) {
      setDraft({ text, value, problem: (error as Error).message });
    }
  };
  return (
    <label className={styles.json}>
      <span className={styles.jsonHead}>
        <code>{label}</code> {isOwn && draft.problem !== '' ? <em role="status">No JSON: {draft.problem}</em> : 'as it is sent'}
      </span>
      <textarea rows={Math.min(12, text.split('\n').length + 1)} spellCheck={false} value={text} onChange={(event) => edit(event.target.value)}
        onBlur={() => setDraft(undefined)} />
    </label>
  );
}
