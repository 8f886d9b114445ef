import { Icon } from '../parts/Icon';
import styles from './Bar.module.css';
import { formatRoute, type View, views } from './route';

export const titles: Readonly<Record<View, string>> = {
  guide: 'Guide',
  now: 'Now',
  channels: 'Channels',
  scan: 'Scan',
  query: 'Query',
  traffic: 'Traffic',
  simulator: 'Simulator',
};

/** The fragment says what is shown, so that it cannot lead to a place of the page. */
function skip(event: React.MouseEvent): void {
  event.preventDefault();
  document.querySelector<HTMLElement>('main')?.focus();
}

/** Leads from view to view: on the left, on a phone at the bottom. */
export function Bar({ current }: { current: View }) {
  return (
    <nav className={styles.bar} aria-label="Views">
      <a className={styles.skip} href={formatRoute(current)} onClick={skip}>
        Skip to {titles[current]}
      </a>
      {views.map((view) => (
        <a key={view} href={formatRoute(view)} className={styles.view} aria-current={view === current ? 'page' : undefined}>
          <Icon name={view} size={22} />
          <span>{titles[view]}</span>
        </a>
      ))}
    </nav>
  );
}
