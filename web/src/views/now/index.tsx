import { useServices, useTv } from '@ostrel/tv/react';
import { useMemo } from 'react';
import { formatRoute, navigate, useParam } from '../../app/route';
import { Answered } from '../../parts/Answered';
import { Empty } from '../../parts/Empty';
import { servicesCall } from '../../parts/services';
import { Failure } from '../../parts/Failure';
import { useTimeKnown } from '../../parts/useTimeKnown';
import { onAt } from './air';
import { Cards, CardShapes } from './Cards';
import { cardsOf, isWanted, readWanted } from './cards';
import { Filter } from './Filter';
import styles from './Now.module.css';
import { NothingOn } from './NothingOn';
import { useOnAir } from './useOnAir';

/** What is on the air now, a card a service. */
export default function Now() {
  const tv = useTv();
  const services = useServices();
  const air = useOnAir();
  const time = useTimeKnown(); // what is on at another time is not what is on
  const [kind] = useParam('kind');
  const [genre] = useParam('genre');
  const wanted = useMemo(() => readWanted(kind, genre), [kind, genre]);
  const all = useMemo(
    () => services.data && air.data && cardsOf(services.data, air.data),
    [services.data, air.data],
  );
  const cards = useMemo(() => all?.filter((card) => isWanted(card, wanted)), [all, wanted]);
  const asked = { method: 'ITVGuide::queryEventInfo', payload: onAt(Math.floor(tv.clock.now())) };
  return (
    <div className={styles.now}>
      <Filter cards={all} wanted={wanted} />
      <div className={styles.rest}>
        <Answered answer={services} call={servicesCall} shape={<CardShapes />}>
          {(list) => (
            <Answered answer={air} call={asked} shape={<CardShapes />}>
              {() => {
                if (!time.isKnown && time.error !== undefined)
                  return <Failure error={time.error} call={{ method: 'ITVService::utcTimeGet', payload: {} }} onRetry={time.measure} />;
                if (!time.isKnown) return <CardShapes />;
                if (list.length === 0)
                  return (
                    <Empty icon="scan" title="No services yet">
                      <p>The box knows of nobody who broadcasts. A scan finds them.</p>
                      <a className="button" href="#/scan">Scan</a>
                    </Empty>
                  );
                if (all?.length === 0) return <NothingOn />;
                if (cards?.length === 0)
                  return (
                    <Empty icon="filter" title="Nothing of that kind is on">
                      <p>{all?.length} other services are on the air.</p>
                      <button onClick={() => navigate(formatRoute('now'), { replace: true })}>Show all</button>
                    </Empty>
                  );
                return <Cards key={`${kind} ${genre}`} cards={cards!} />;
              }}
            </Answered>
          )}
        </Answered>
      </div>
    </div>
  );
}
