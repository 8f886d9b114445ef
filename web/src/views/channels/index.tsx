import { useConnection, useServices } from '@ostrel/tv/react';
import { useCallback } from 'react';
import { useParam } from '../../app/route';
import { Answered } from '../../parts/Answered';
import { Empty } from '../../parts/Empty';
import { Failure } from '../../parts/Failure';
import { servicesCall } from '../../parts/services';
import { useShortcuts } from '../../parts/shortcuts';
import styles from './Channels.module.css';
import { type Base, given, isOutdated, type Operation } from './cursor';
import { Lists } from './Lists';
import { Log } from './Log';
import { Operations } from './Operations';
import { Table, TableShape } from './Table';
import { cursor, useListCursor } from './useListCursor';

/** Both lists of the box, and a cursor in them that does what the module's does. */
export default function Channels() {
  const [param, setParam] = useParam('list');
  const base: Base = param === 'new' ? 'new' : 'all';
  const all = useServices({ base: 'all' });
  const found = useServices({ base: 'new' });
  const list = base === 'new' ? found : all;
  const { position, log, failure, base: selected } = useListCursor(base);
  const isAway = useConnection().state !== 'open';
  const services = list.data ?? [];
  const act = useCallback(async (operation: Operation) => {
    const outcome = await cursor.do(operation);
    if (!isOutdated(services, outcome)) return outcome;
    all.reload();
    found.reload();
    return outcome;
  }, [services, all.reload, found.reload]);
  const choose = (wanted: Base) => (wanted === base ? void act({ name: 'serviceListSet', payload: { base } }) : setParam(wanted === 'new' ? 'new' : ''));
  useShortcuts('Channels', [
    { key: 'Arrows', label: '↑ ↓', does: 'To the service above, below' },
    { key: ['PageUp', 'PageDown', 'Home', 'End'], does: 'A screen of services; to the first, the last' },
    { key: 'Enter', does: 'Move the cursor before the service' },
    { key: 'l', does: 'The other list', run: () => choose(base === 'all' ? 'new' : 'all') },
  ]);
  const last = log[0];
  const marked = last !== undefined && last.base === base ? { from: last.before, count: given(last).length, moves: last.operation.name === 'serviceListRead' } : undefined;
  return (
    <div className={styles.channels}>
      <Lists base={base} counts={{ all: all.data?.length, new: found.data?.length }} onChoose={choose} />
      <div className={styles.list}>
        <Answered answer={list} call={servicesCall} shape={<TableShape />}>
          {(services) => services.length === 0 ? <NoServices base={base} /> : (
          <Table key={base} services={services} position={selected === base ? position : undefined} marked={marked} isStill={isAway}
            onSeek={(offset) => void act({ name: 'serviceListSeek', payload: { offset, whence: 0 } })} />
        )}
        </Answered>
      </div>
      <aside className={styles.panel} aria-label="Cursor">
        {failure !== undefined && <Failure error={failure} call={{ method: 'ITVService::createContext' }} onRetry={() => cursor.want(base)} />}
        <Operations services={list.data} position={selected === base ? position : undefined} isLost={last?.error !== undefined && selected !== base} base={base} isAway={isAway} act={act} />
        <Log outcomes={log} />
      </aside>
    </div>
  );
}

function NoServices({ base }: { base: Base }) {
  if (base === 'new')
    return (
      <Empty icon="scan" title="No scan has added a service">
        <p>This list holds what the latest scan has added, and each scan begins it anew.</p>
        <a className="button" href="#/scan">Scan</a>
      </Empty>
    );
  return (
    <Empty icon="channels" title="The list is empty">
      <p>All services were deleted. A blind scan brings those back that can be received.</p>
      <a className="button" href="#/scan">Scan</a>
    </Empty>
  );
}
