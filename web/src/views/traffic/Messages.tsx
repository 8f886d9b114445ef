import { useConnection } from '@ostrel/tv/react';
import { type KeyboardEvent, useEffect, useRef, useState } from 'react';
import { formatRoute, navigate } from '../../app/route';
import { classes } from '../../parts/classes';
import { Empty } from '../../parts/Empty';
import { Failure } from '../../parts/Failure';
import { Icon } from '../../parts/Icon';
import { Shapes } from '../../parts/Shape';
import { useShortcuts } from '../../parts/shortcuts';
import { Details } from './Details';
import { log, type Status } from './feed';
import { Filters } from './Filters';
import { formatCount } from './format';
import { List, type ListHandle } from './List';
import { save } from './save';
import styles from './Traffic.module.css';
import type { Entry } from './TrafficLog';
import { type Pause, useFilter, useSelection } from './useSelection';
import { callAgain, chooseCall, takeFocus } from './calls';

/** The list of what passes, and what of it is opened. */
export function Messages({ status }: { status: Status }) {
  const filter = useFilter();
  const [pause, setPause] = useState<Pause>('');
  const [open, setOpen] = useState<Entry>();
  const isPaused = pause !== '' || open !== undefined;
  const { selection, fresh, refresh } = useSelection(filter, isPaused);
  const list = useRef<ListHandle>(null);
  const text = useRef<HTMLInputElement>(null);
  useEffect(() => {
    if (takeFocus()) list.current?.focus();
  }, []);
  const isAway = useConnection().state !== 'open';
  const isFiltered = filter.text !== '' || filter.method !== '' || filter.client !== '' || filter.errorsOnly;
  const isEmpty = selection.entries.length === 0;

  const close = () => (setOpen(undefined), list.current?.focus());
  const togglePause = () => setPause(pause === '' ? 'asked' : '');
  const clear = () => (log.clear(), refresh(), setOpen(undefined), setPause(''));
  const only = (errors: boolean) =>
    navigate(formatRoute('traffic', { q: filter.text, method: filter.method, client: filter.client, only: errors ? 'errors' : '' }), { replace: true });
  useShortcuts('Traffic', [
    { key: '/', does: 'Look for a text', run: () => text.current?.select() },
    { key: ['p', 'P'], label: 'P', does: 'Pause, and go on', run: togglePause },
    { key: ['e', 'E'], label: 'E', does: 'Only what went wrong', run: () => only(!filter.errorsOnly) },
    { key: ['c', 'C'], label: 'C', does: 'Make a call', run: chooseCall },
    { key: 'Enter', does: 'Open what is chosen' },
    { key: 'Escape', label: 'Esc', does: 'Close it' },
    { key: 'End', does: 'To the newest, and go on' },
  ]);
  const onKeyDown = (event: KeyboardEvent) => {
    if (event.key !== 'Escape') return;
    event.preventDefault(); // a field of a search would forget its text
    if (event.target instanceof HTMLInputElement) list.current?.focus();
    else if (open !== undefined) close();
  };
  const onReading = (isReading: boolean) => setPause((now) => (now === 'asked' ? now : isReading ? 'reading' : ''));

  if (status.state === 'failed')
    return <div className={styles.failed}><Failure error={status.error} call={{ method: 'Simulator::trafficGet' }} onRetry={status.retry} /></div>;
  return (
    <div className={classes(styles.messages, open !== undefined && styles.split)} onKeyDown={onKeyDown}>
      <div className={styles.tools} role="toolbar" aria-label="Traffic">
        <Filters first={text} />
        <span className={styles.buttons}>
          <button aria-pressed={pause === 'asked'} onClick={togglePause} title={pause === 'asked' ? 'Go on (P)' : 'Pause (P)'}>
            <Icon name={pause === 'asked' ? 'play' : 'pause'} size={16} /> {pause === 'asked' ? 'Go on' : 'Pause'}
          </button>
          <button onClick={clear} title="Forget what has passed">
            <Icon name="trash" size={16} /> Clear
          </button>
          <button onClick={() => save(filter)} disabled={isEmpty} title="Save as JSON lines, for ostrel-tv replay">
            <Icon name="save" size={16} /> Save
          </button>
          <button data-kind="primary" onClick={chooseCall} title="Make a call (C)">
            <Icon name="plus" size={16} /> Call
          </button>
        </span>
      </div>
      {status.state === 'own' && (
        <p className={styles.own}>This host runs without its simulator: these are this page's own calls, and what everybody is told.</p>
      )}
      <div className={classes(styles.listPlace, isAway && styles.away)}>
        {status.state === 'loading' && isEmpty && !isAway && <div className={styles.shapes}><Shapes count={12} height={20} /></div>}
        {isEmpty && (status.state !== 'loading' || isAway) ? (
          <Empty icon="traffic" title={isFiltered ? 'Nothing of this has passed' : 'Nothing to show yet'}>
            {isFiltered ? (
              <button onClick={() => navigate('#/traffic', { replace: true })}>Show everything</button>
            ) : (
              <>
                <p>The calls of every client appear here as they are made.</p>
                <button onClick={chooseCall}>Make one</button>
              </>
            )}
          </Empty>
        ) : (
          <List selection={selection} open={open} isFollowing={!isPaused} onReading={onReading} onOpen={setOpen} handle={list} />
        )}
        {isPaused && !isEmpty && (
          <button className={styles.fresh} data-kind="primary" onClick={() => (setPause(''), close())}>
            <Icon name="down" size={16} /> {fresh === 0 ? 'Jump to the end' : `${formatCount(fresh)} new, jump to the end`}
          </button>
        )}
      </div>
      {open !== undefined && <Details key={open.number} entry={open} onAgain={callAgain} onClose={close} />}
    </div>
  );
}
