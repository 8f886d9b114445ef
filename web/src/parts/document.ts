/** A value as JSON over several lines; lists of numbers and texts take one each. */
export const print = (value: unknown): string =>
  JSON.stringify(value, null, 2).replace(/\[\n\s+([^[\]{}]*?)\n\s+\]/g, (_, items: string) => `[${items.replace(/\n\s+/g, ' ')}]`);

function layOutJson(document: string): string {
  try {
    return print(JSON.parse(document));
  } catch {
    return document; // it is not as the guide's are
  }
}

/** A document over several lines. One of XML holds texts alone in its elements, and no `<` in a text. */
export function layOut(document: string): string {
  if (!document.startsWith('<')) return layOutJson(document);
  const lines = document.replace(/(<\/\w+>|<\w+\/>|^<\w+>)(?=<)/g, '$1\n').split('\n');
  return lines.map((line, i) => (i === 0 || i === lines.length - 1 ? line : `  ${line}`)).join('\n');
}

export type DocumentInk = 'name' | 'text' | 'value' | 'mark';

// Names of members and elements, texts and references in them, and what is no text. What is between them is a mark.
const json = /(?<name>"(?:\\.|[^"\\])*")(?=:)|(?<text>"(?:\\.|[^"\\])*")|(?<value>[\w.-]+)/g;
const xml = /(?<name><[^>]*>)|(?<value>&[^;]*;)|(?<text>[^<&\n]+)/g;

/** Cuts a document into pieces of one colour. */
export function inks(document: string): { text: string; ink: DocumentInk }[] {
  const pieces: { text: string; ink: DocumentInk }[] = [];
  let end = 0;
  for (const { 0: text, index, groups } of document.matchAll(document.startsWith('<') ? xml : json)) {
    if (index > end) pieces.push({ text: document.slice(end, index), ink: 'mark' });
    const ink = (['name', 'text', 'value'] as const).find((known) => groups?.[known] !== undefined) ?? 'mark';
    pieces.push({ text, ink });
    end = index + text.length;
  }
  if (end < document.length) pieces.push({ text: document.slice(end), ink: 'mark' });
  return pieces;
}
