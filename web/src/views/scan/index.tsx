import { useEffect, useRef, useState } from 'react';
import { Confirm } from '../../parts/Dialog';
import { Empty } from '../../parts/Empty';
import { Failure } from '../../parts/Failure';
import { Lines } from '../../parts/Lines';
import { Shape } from '../../parts/Shape';
import { clearLists, scanBand, scanTransponders, stopScan } from './actions';
import { added } from './added';
import { useActions, useFollowedScan } from './following';
import { Found } from './Found';
import { Head, Progress } from './Progress';
import styles from './Scan.module.css';
import { Transponders } from './Transponders';

/** The search for channels, which is everybody's: how it stands, what it finds, and what it goes over. */
export default function ScanView() {
  const { scan, story, isRunning, count, groups, inList, reloadLists } = useFollowedScan();
  const { act, refusal } = useActions();
  const [asks, ask] = useState(false);
  const main = useRef<HTMLButtonElement>(null);
  useEffect(() => {
    if (inList === 0 && document.activeElement === document.body) main.current?.focus(); // what had it has gone
  }, [inList]);
  const start = async (over: 'band' | 'transponders') => {
    await act(over === 'band' ? scanBand : scanTransponders, over);
    scan.reload();
  };
  const stop = async () => {
    await act(stopScan);
    scan.reload();
  };
  const clear = async () => {
    if (!(await act(clearLists))) return;
    added.set([]);
    reloadLists();
  };
  const isAway = scan.state === 'disconnected';
  const [isKnown, setKnown] = useState(false);
  if (scan.state === 'ready' && !isKnown) setKnown(true);
  if (isAway && !isKnown) return <Empty icon="scan" title="Nobody answers"><p>The page tries again by itself.</p></Empty>;
  return (
    <div className={styles.view}>
      {refusal && <Failure error={refusal.error} call={refusal.action} />}
      {scan.error && <Failure error={scan.error} call={{ method: 'ITVConfig::scanInfoGet', payload: { sourceId: 0 } }} onRetry={scan.reload} />}
      {scan.state === 'loading' && !isKnown && <div className={styles.loading} aria-busy="true"><Shape height={56} /><Shape height={320} /></div>}
      {isKnown && (
        <fieldset className={styles.parts} disabled={isAway} data-old={isAway || undefined} aria-label="Scan">
          <Head info={scan.data} story={story} main={main} onStart={(over) => void start(over)} onStop={() => void stop()} />
          <Progress info={scan.data} story={story} groups={groups} />
          <div className={styles.columns}>
            <Found groups={groups} info={scan.data} inList={inList} count={count} isRunning={isRunning} onClear={() => ask(true)} />
            <div className={styles.side}>
              <Transponders act={act} onClear={() => ask(true)} />
              <section className={styles.card} aria-labelledby="done">
                <h2 id="done">The same from a shell</h2>
                <Lines />
              </section>
            </div>
          </div>
        </fieldset>
      )}
      {asks && (
        <Confirm title="Empty the transponder list?" action="Empty both lists" onConfirm={() => void clear()} onClose={() => ask(false)}>
          <p>
            The channel list goes with it: <strong>all services are gone, for everybody</strong>, until a scan finds them again. A scan
            of the whole band finds all that is on the air.
          </p>
        </Confirm>
      )}
    </div>
  );
}
