import type { ServiceInfo } from '@ostrel/tv';
import { useConnection, useTv } from '@ostrel/tv/react';
import { type KeyboardEvent, useEffect, useMemo, useRef, useState } from 'react';
import { formatRoute, navigate, useRoute } from '../../app/route';
import { show, useShow } from '../../app/show';
import { Failure } from '../../parts/Failure';
import { say } from '../../parts/Notice';
import { blockSpan, blocksOf } from './blocks';
import { Details } from './Details';
import { isFiltering, readFilter } from './filter';
import { Filters } from './Filters';
import { Grid } from './Grid';
import styles from './Guide.module.css';
import { serviceByNumber } from './labels';
import { cellsOf } from './known';
import { NumberTyped } from './NumberTyped';
import { findNext } from './search';
import { useDigits } from './useDigits';
import { useGuide } from './useGuide';
import { useGuideKeys } from './useGuideKeys';

/** The guide of some services: filters, grid, and what is selected in it. */
export function Guide({ services }: { services: readonly ServiceInfo[] }) {
  const { params } = useRoute();
  const filter = useMemo(() => readFilter(params), [params.toString()]);
  const isOnlyMatches = params.has('only') && isFiltering(filter);
  const isShow = useShow();
  const { state } = useConnection();
  const tv = useTv();
  const scroller = useRef<HTMLDivElement>(null);
  const grid = useRef<HTMLDivElement>(null);
  const panel = useRef<HTMLElement>(null);
  const search = useRef<HTMLInputElement>(null);
  const searching = useRef<AbortController>(undefined);
  useEffect(() => () => searching.current?.abort(), []); // what is found would lead back to this view
  const guide = useGuide(scroller, services, filter, isOnlyMatches);
  const { rows, row, time, known, days } = guide;
  const [isInfo, showInfo] = useState(true);
  useEffect(() => showInfo(!isShow), [isShow]);

  const focus = () => grid.current?.focus({ preventScroll: true });
  useEffect(() => {
    if (document.activeElement === document.body) focus();
  }, []);
  const goTo = (serviceId: number, at: number) => {
    const index = rows.findIndex(({ id }) => id === serviceId);
    if (index < 0) return;
    guide.select(index, at, cellsOf(known, serviceId, { from: at, to: at + 1 })[0]!);
    focus();
  };
  const digits = useDigits((number) => {
    const service = serviceByNumber(rows, number);
    if (service === undefined) return say(`There is no channel ${number}.`);
    guide.select(rows.indexOf(service), guide.isFollowing ? 'now' : time, { from: time, to: time });
    focus();
  });
  const openDetails = () => {
    showInfo(true);
    requestAnimationFrame(() => panel.current?.querySelector('button')?.focus());
  };
  useGuideKeys({
    move: (key) => (focus(), guide.move(key)),
    digit: (digit) => (focus(), digits.type(digit)),
    info: () => showInfo(!isInfo),
    search: () => search.current?.focus(),
    show: () => show.set(!isShow),
  });
  const onKeyDown = (event: KeyboardEvent) => {
    if (event.altKey || event.ctrlKey || event.metaKey) return;
    const isTaken =
      event.key === 'Enter' ? (digits.text !== '' ? digits.take() : openDetails(), true)
      : event.key === 'Escape' ? (digits.text !== '' ? (digits.clear(), true) : isShow && (isInfo ? showInfo(false) : show.set(false), true))
      : event.key.startsWith('Arrow') && guide.move(event.key);
    if (isTaken) event.preventDefault();
  };

  const onNext = () => {
    searching.current?.abort();
    const { signal } = (searching.current = new AbortController());
    findNext(tv, filter, rows, time, row, signal).then(
      (found) => (found === undefined ? say('Nothing more matches.') : goTo(found.serviceId, found.startTime)),
      () => signal.aborted || say('The service did not answer.'),
    );
  };
  const service = rows[row];
  const cell = service && cellsOf(known, service.id, days).find(({ from, to }) => from <= time && to > time);
  const asked = blockSpan(blocksOf(guide.shown())[0] ?? 0);
  return (
    <div className={styles.guide} data-connection={state} data-show={isShow || undefined}>
      {!isShow && (
        <Filters search={search} onNext={onNext} onLeave={focus} isFiltering={isFiltering(filter)}
          onClear={() => navigate(formatRoute('guide', { at: params.get('at') ?? '', channel: params.get('channel') ?? '' }), { replace: true })} />
      )}
      {known.error !== undefined && (
        <Failure error={known.error} onRetry={guide.loader.retry}
          call={{ method: 'ITVGuide::queryEventInfo', payload: { query: { timeRange: { base: asked.from, limit: asked.to } } } }} />
      )}
      <div className={styles.stage}>
        <Grid guide={guide} scroller={scroller} grid={grid} filter={filter} isOnlyMatches={isOnlyMatches} onKeyDown={onKeyDown} onOpen={openDetails} />
        {rows.length === 0 && <p className={styles.nothing}>Nothing in sight matches.</p>}
        <NumberTyped text={digits.text} service={serviceByNumber(rows, Number(digits.text))} />
      </div>
      {isInfo && service && cell && (
        <Details panel={panel} service={service} cell={cell} services={services} zone={guide.zone} now={guide.now} onGoTo={goTo} onLeave={focus} />
      )}
    </div>
  );
}
