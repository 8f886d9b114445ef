import { say } from './Notice';

/** Puts a text on the clipboard and says so. Pages that were not loaded safely have the older way alone. */
export async function copyText(text: string, what: string): Promise<void> {
  try {
    await navigator.clipboard.writeText(text);
  } catch {
    const field = document.createElement('textarea');
    field.value = text;
    const host = document.querySelector('dialog[open]:modal') ?? document.body; // what is outside of a dialog takes no focus
    host.append(field);
    const active = document.activeElement;
    field.select();
    const isDone = document.execCommand('copy');
    field.remove();
    if (active instanceof HTMLElement) active.focus();
    if (!isDone) return say('The browser does not let the page copy.');
  }
  say(`Copied ${what}.`, text.includes('\n') ? undefined : text);
}
