import { lazy, Suspense, useEffect, useState } from 'react';
import { Notices } from '../parts/Notice';
import { Shapes } from '../parts/Shape';
import { classes } from '../parts/classes';
import { useShortcuts } from '../parts/shortcuts';
import styles from './App.module.css';
import { Bar, titles } from './Bar';
import { Failed } from './Failed';
import { KeptOut } from './KeptOut';
import { Keys } from './Keys';
import { useRoute, type View } from './route';
import { useShow } from './show';
import { useSimulator } from './simulator';
import { followArrow } from './spatial';
import { StatusLine } from './StatusLine';

const shown: Readonly<Record<View, React.ComponentType>> = {
  guide: lazy(() => import('../views/guide')),
  now: lazy(() => import('../views/now')),
  channels: lazy(() => import('../views/channels')),
  scan: lazy(() => import('../views/scan')),
  query: lazy(() => import('../views/query')),
  traffic: lazy(() => import('../views/traffic')),
  simulator: lazy(() => import('../views/simulator')),
};

/** The frame: the bar, the status line, and the view that the address names. */
export function App() {
  const { view } = useRoute();
  const isShow = useShow();
  const [areKeysOpen, openKeys] = useState(false);
  const isKeptOut = useSimulator().state === 'kept out';
  const Shown = shown[view];
  useEffect(() => {
    document.addEventListener('keydown', followArrow);
    return () => document.removeEventListener('keydown', followArrow);
  }, []);
  useEffect(() => {
    document.title = `${titles[view]} · Ostrel TV`;
  }, [view]);
  useShortcuts('Everywhere', [
    { key: '?', does: 'All keys', run: () => openKeys(true) },
    { key: 'Arrows', label: '← ↑ → ↓', does: 'To what is next in that direction' },
  ]);
  return (
    <div className={classes(styles.app, isShow && styles.show)}>
      {!isShow && <Bar current={view} />}
      {!isShow && <StatusLine title={titles[view]} onKeys={() => openKeys(true)} />}
      <main className={styles.main} tabIndex={-1} aria-label={titles[view]}>
        {isKeptOut ? <KeptOut /> : (
          <Failed key={view}>
            <Suspense fallback={<div className={styles.loading}><Shapes count={6} /></div>}>
              <Shown />
            </Suspense>
          </Failed>
        )}
      </main>
      {areKeysOpen && <Keys onClose={() => openKeys(false)} />}
      <Notices />
    </div>
  );
}
