/** Replaces a part of a field's text as if it were typed: the caret goes behind it, and Undo takes it back. */
export function write(field: HTMLTextAreaElement, text: string, from: number, to: number): void {
  field.focus();
  field.setSelectionRange(from, to);
  // Deprecated, and all there is that the browser's Undo knows of.
  const isDone = text === '' ? from === to || document.execCommand('delete') : document.execCommand('insertText', false, text);
  if (isDone) return;
  field.setRangeText(text, from, to, 'end');
  field.dispatchEvent(new Event('input', { bubbles: true }));
}
