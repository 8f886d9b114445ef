import type { Query } from '@ostrel/tv';
import { useServices } from '@ostrel/tv/react';
import { useEffect, useMemo, useState } from 'react';
import { print } from '../../parts/document';
import { Icon } from '../../parts/Icon';
import { useGenreTexts } from '../../parts/genre';
import styles from './ByForm.module.css';
import { Chips } from './Chips';
import { mostServices, type Order, orderOf, orders, tidy, withOrder } from './form';
import view from './index.module.css';
import { Slice } from './Slice';
import { TimeWindow } from './TimeWindow';

const orderNames: Record<Order, string> = {
  start: 'by start, as they come',
  service: 'by service',
  'service, start': 'by service, then start',
  'start, service': 'by start, then service',
};

const number = (text: string) => (/^-?\d+$/.test(text) ? Number(text) : undefined);

/** Makes an event query, and shows what is sent. */
export function ByForm({ query: asked, onAsk }: { query: Query; onAsk: (query: Query) => void }) {
  const [query, setQuery] = useState(asked);
  const text = JSON.stringify(asked);
  useEffect(() => setQuery(asked), [text]);
  const { data } = useServices();
  const names = useMemo(() => new Map(data?.map(({ id, name }) => [id, name])), [data]);
  const ids = useMemo(() => new Map([...names].map(([id, name]) => [name, id])), [names]);
  const genres = useGenreTexts();
  const codes = useMemo(() => new Map([...genres].map(([code, genre]) => [genre, code])), [genres]);
  const change = (part: Query) => setQuery(tidy({ ...query, ...part }));
  const services = query.serviceIdList ?? [];
  return (
    <div className={view.halves}>
      <form className={styles.form} aria-label="Event query" onSubmit={(event) => (event.preventDefault(), onAsk(query))}>
        <Chips label="Services" placeholder="All; name or id" chosen={services} offered={[...ids.keys()]}
          say={(id) => names.get(id) ?? String(id)} read={(typed) => ids.get(typed) ?? number(typed)}
          onChange={(serviceIdList) => change({ serviceIdList })} />
        <Chips label="Genres" placeholder="All; name or code" chosen={query.genreList ?? []} offered={[...codes.keys()]}
          say={(code) => genres.get(code) ?? String(code)} read={(typed) => codes.get(typed) ?? number(typed)}
          onChange={(genreList) => change({ genreList })} />
        <Chips label="Texts" placeholder="Any; Enter adds" chosen={query.stringList ?? []} say={(one) => `“${one}”`} read={(typed) => typed}
          onChange={(stringList) => change({ stringList })} />
        {services.length > mostServices(query) && (
          <p className={styles.warning} role="status">
            The service holds {mostServices(query)} services {query.timeRange ? 'beside a window of time' : 'in a query'}, and refuses more.
          </p>
        )}
        <TimeWindow range={query.timeRange} onChange={(timeRange) => setQuery(tidy({ ...query, timeRange } as Query))} />
        <div className={styles.checks}>
          <label>
            <input type="checkbox" checked={query.timeRange?.strict ?? false} disabled={query.timeRange === undefined}
              onChange={({ target }) => change({ timeRange: tidy({ ...query.timeRange, strict: target.checked }) })} /> Whole events within the time
          </label>
          <label>
            <input type="checkbox" checked={query.stringAnd ?? false} onChange={({ target }) => change({ stringAnd: target.checked })} /> All texts, not any
          </label>
          <label>
            <input type="checkbox" checked={query.stringMatchDescription ?? false}
              onChange={({ target }) => change({ stringMatchDescription: target.checked })} /> In descriptions too
          </label>
        </div>
        <label className={styles.label}>
          Order
          <select value={orderOf(query)} onChange={({ target }) => setQuery(withOrder(query, target.value as Order))}>
            {(Object.keys(orders) as Order[]).map((order) => (
              <option key={order} value={order}>
                {orderNames[order]}
              </option>
            ))}
          </select>
        </label>
        <Slice range={query.sliceRange} onChange={(sliceRange) => setQuery(tidy({ ...query, sliceRange } as Query))} />
        <button data-kind="primary" className={styles.ask}>
          <Icon name="play" size={16} /> Ask
        </button>
      </form>
      <section className={styles.sent} aria-label="What is sent">
        <h2>What is sent</h2>
        <pre tabIndex={0} aria-label="The payload">{print({ query })}</pre>
      </section>
    </div>
  );
}
