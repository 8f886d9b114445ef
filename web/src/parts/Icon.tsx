/** Drawn in a square of 24 with a line of 1.75. */
const paths = {
  guide: 'M4 5h16v14H4zM4 10h16M9 10v9M15 14h5',
  now: 'M12 21a9 9 0 1 0 0-18 9 9 0 0 0 0 18zM12 7v5l3.5 2',
  channels: 'M4 6h2M4 12h2M4 18h2M10 6h10M10 12h10M10 18h10',
  scan: 'M3 18c3 0 3-12 6-12s3 12 6 12 3-12 6-12',
  query: 'M10.5 17a6.5 6.5 0 1 0 0-13 6.5 6.5 0 0 0 0 13zM15.3 15.3 21 21',
  traffic: 'M4 8h14M14 4l4 4-4 4M20 16H6M10 12l-4 4 4 4',
  simulator: 'M5 4v7M5 15v5M12 4v3M12 11v9M19 4v9M19 17v3M3 13h4M10 9h4M17 15h4',
  left: 'M15 5l-7 7 7 7',
  right: 'M9 5l7 7-7 7',
  down: 'M5 9l7 7 7-7',
  close: 'M6 6l12 12M18 6 6 18',
  copy: 'M9 9h10v11H9zM5 15V4h10',
  more: 'M6 12h.01M12 12h.01M18 12h.01',
  play: 'M7 5l12 7-12 7z',
  pause: 'M8 5v14M16 5v14',
  step: 'M6 5l9 7-9 7zM18 5v14',
  stop: 'M6 6h12v12H6z',
  plus: 'M12 5v14M5 12h14',
  trash: 'M4 7h16M9 7V4h6v3M6 7l1 13h10l1-13',
  reload: 'M20 12a8 8 0 1 1-2.3-5.7L20 8.5M20 4v4.5h-4.5',
  tv: 'M3 6h18v11H3zM8 21h8',
  radio: 'M4 9h16v11H4zM7 9l9-5M15.5 17a2.5 2.5 0 1 0 0-5 2.5 2.5 0 0 0 0 5zM7 13h3M7 16h3',
  data: 'M4 5h16v14H4zM8 9h8M8 12h8M8 15h5',
  help: 'M12 21a9 9 0 1 0 0-18 9 9 0 0 0 0 18zM9.5 9.5a2.5 2.5 0 1 1 3.5 2.3c-.7.3-1 .8-1 1.7M12 16.5h.01',
  lock: 'M6 11h12v9H6zM8.5 11V8a3.5 3.5 0 0 1 7 0v3',
  warning: 'M12 4 2.5 20h19zM12 10v4M12 17h.01',
  signal: 'M4 20v-4M9 20v-7M14 20V9M19 20V4',
  filter: 'M4 5h16l-6 8v6l-4-2v-4z',
  system: 'M12 21a9 9 0 1 0 0-18 9 9 0 0 0 0 18zM12 3v18M12 8h7.9M12 12h9M12 16h7.9',
  dark: 'M20 14.5A8.5 8.5 0 0 1 9.5 4a8.5 8.5 0 1 0 10.5 10.5z',
  light: 'M12 16a4 4 0 1 0 0-8 4 4 0 0 0 0 8zM12 2v3M12 19v3M2 12h3M19 12h3M5 5l2 2M17 17l2 2M5 19l2-2M17 7l2-2',
  start: 'M18 5l-9 7 9 7zM6 5v14',
  hd: 'M3 6h18v12H3zM7 9.5v5M11 9.5v5M7 12h4M14 9.5v5h1a2.5 2.5 0 0 0 0-5z',
  hidden: 'M4 4l16 16M9.9 5.2A9.6 9.6 0 0 1 12 5c5 0 8.5 4 9.5 7a12 12 0 0 1-2.6 4M6.3 7.3A12 12 0 0 0 2.5 12c1 3 4.5 7 9.5 7a9.5 9.5 0 0 0 4-.9',
  barred: 'M12 21a9 9 0 1 0 0-18 9 9 0 0 0 0 18zM5.6 5.6l12.8 12.8',
  save: 'M12 4v11M7 10l5 5 5-5M4 20h16',
} as const;

export type IconName = keyof typeof paths;

/** A picture beside a word; it has no name of its own. */
export function Icon({ name, size = 20 }: { name: IconName; size?: number }) {
  return (
    <svg width={size} height={size} viewBox="0 0 24 24" fill="none" stroke="currentColor" strokeWidth="1.75"
      strokeLinecap="round" strokeLinejoin="round" aria-hidden="true" focusable="false">
      <path d={paths[name]} />
    </svg>
  );
}
