import { useVirtualizer } from '@tanstack/react-virtual';
import { memo, useRef, useState } from 'react';
import { useRangeWith, useRoving } from '../../parts/roving';
import { useShortcuts } from '../../parts/shortcuts';
import { Shape } from '../../parts/Shape';
import { useSize } from '../../parts/useSize';
import { CardOnAir } from './CardOnAir';
import { type Card, columnsIn } from './cards';
import styles from './Now.module.css';
import { Details } from './Details';

const least = 264; // the width of a card
const gap = 12;
const height = 176;

/** The cards, of which those on show alone are drawn. */
export const Cards = memo(function Cards({ cards }: { cards: readonly Card[] }) {
  const ref = useRef<HTMLDivElement>(null);
  const inside = useRef<HTMLDivElement>(null);
  const columns = columnsIn(useSize(inside).width, least, gap);
  const count = Math.ceil(cards.length / columns);
  const [opened, open] = useState<Card>();
  const page = Math.max(1, Math.floor(useSize(ref).height / (height + gap)));
  const roving = useRoving(ref, {
    ids: cards.map(({ service }) => service.id),
    columns,
    page,
    scrollTo: (place) => rows.scrollToIndex(Math.floor(place / columns)),
  });
  const stop = Math.floor(roving.place / columns);
  const rows = useVirtualizer({
    count,
    getScrollElement: () => ref.current,
    estimateSize: () => height,
    gap,
    overscan: 1,
    paddingEnd: 16,
    scrollPaddingEnd: 16,
    scrollPaddingStart: 4,
    rangeExtractor: useRangeWith(stop),
  });
  useShortcuts('Now', [
    { key: 'Arrows', label: '← ↑ → ↓', does: 'To the card beside, above, below' },
    { key: ['PageUp', 'PageDown'], does: 'A screen of cards' },
    { key: ['Home', 'End'], does: 'To the first card, the last' },
    { key: 'Enter', does: 'All about what is on' },
  ]);
  return (
    <>
      <div ref={ref} className={styles.scroll} role="grid" aria-label="On the air" aria-rowcount={count} aria-colcount={columns}
        {...roving.handlers}>
        <div ref={inside} className={styles.all} role="presentation" style={{ height: rows.getTotalSize() }}>
          {rows.getVirtualItems().map(({ index, start }) => (
            <div key={index} className={styles.row} role="row" aria-rowindex={index + 1}
              style={{ transform: `translateY(${start}px)`, gridTemplateColumns: `repeat(${columns}, minmax(0, 1fr))` }}>
              {cards.slice(index * columns, (index + 1) * columns).map((card, column) => (
                <CardOnAir key={card.service.id} card={card} place={index * columns + column} column={column + 1}
                  isStop={index * columns + column === roving.place} onOpen={open} />
              ))}
            </div>
          ))}
        </div>
      </div>
      {opened !== undefined && <Details card={opened} onClose={() => open(undefined)} />}
    </>
  );
});

/** The shape of the cards, while they are on their way. */
export function CardShapes() {
  return (
    <div className={styles.shapes}>
      {Array.from({ length: 36 }, (_, i) => (
        <div key={i} style={{ height }}>
          <Shape width={32} height={32} />
          <Shape width={`${50 + ((i * 17) % 40)}%`} height={20} />
          <Shape height={4} />
          <Shape width="60%" height={12} />
        </div>
      ))}
    </div>
  );
}
