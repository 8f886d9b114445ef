import type { ReactNode } from 'react';

/** A text of the description: paragraphs, with code between backticks and what matters between two stars. */
export function Prose({ text }: { text: string }) {
  return text.split(/\n{2,}/).map((paragraph, i) => <p key={i}>{inline(paragraph)}</p>);
}

const inline = (text: string): ReactNode[] =>
  text.split(/(`[^`]+`|\*\*[^*]+\*\*)/).map((part, i) => {
    if (part.startsWith('`')) return <code key={i}>{part.slice(1, -1)}</code>;
    return part.startsWith('**') ? <strong key={i}>{part.slice(2, -2)}</strong> : part;
  });
