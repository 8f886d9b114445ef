import { useShortcuts } from '../../parts/shortcuts';

interface GuideKeys {
  move: (key: string) => void;
  digit: (digit: string) => void;
  info: () => void;
  search: () => void;
  show: () => void;
}

const digits = [...'0123456789'];

/** The keys of the guide: those of a remote control. What the grid handles itself is only listed. */
export function useGuideKeys({ move, digit, info, search, show }: GuideKeys): void {
  const run = (event: KeyboardEvent) => move(event.key);
  useShortcuts('Guide', [
    { key: [], label: '← →', does: 'The programme before, or the next' },
    { key: [], label: '↑ ↓', does: 'The channel above or below, at the same time' },
    { key: [], label: 'Enter', does: 'Details' },
    { key: [], label: 'Esc', does: 'Back' },
    { key: digits, label: '0 … 9', does: 'A channel by its number', run: (event) => digit(event.key) },
    { key: ['PageUp', 'PageDown'], does: 'A screen of channels', run },
    { key: 'Home', does: 'Now', run },
    { key: ['[', ']'], does: 'A day back, or on', run },
    { key: ['i', 'I'], label: 'I', does: 'Info on what is selected, or none', run: info },
    { key: '/', does: 'Search', run: search },
    { key: ['f', 'F'], label: 'F', does: 'The guide alone, for a television', run: show },
  ]);
}
