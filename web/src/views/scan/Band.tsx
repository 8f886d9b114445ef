import { useTopic } from '../../parts/Topic';
import { added } from './added';
import { channelOf, channelWidth, frequencies, placeInBand, rasterMHz, visited } from './band';
import styles from './Scan.module.css';
import { type Group, type Place, placeText, type Plan } from './story';

/** What each height of the drawing is for, in pixels. */
const room = { label: 20, stack: 168, axis: 40 };
const ground = room.label + room.stack;

const percentage = (part: number) => `${(part * 100).toFixed(4)}%`;

interface BandProps {
  groups: readonly Group[];
  /** Undefined when there was no scan. */
  percent: number | undefined;
  plan: Plan;
  isRunning: boolean;
}

/** More channels than this are no place to put anything at. */
const widest = 8;

const isExact = (place: Place | undefined) => place !== undefined && place.toMHz - place.fromMHz < widest * rasterMHz;

/** A service is a block on its frequency, or as wide as what it lies between; the first one at the bottom. */
function Stack({ place, services }: { place: Place; services: Group['services'] }) {
  const height = Math.min(7, room.stack / services.length);
  const from = placeInBand(place.fromMHz);
  const to = placeInBand(place.toMHz);
  return (
    <g>
      {services.map(({ uri, name, type }, number) => (
        <rect key={uri} className={styles.block} data-kind={['', 'tv', 'radio'][type] ?? 'other'} data-wide={from < to || undefined}
          x={percentage(from - channelWidth * 0.45)} width={percentage(to - from + channelWidth * 0.9)} y={ground - (number + 1) * height} height={height * 0.8}>
          <title>{name}</title>
        </rect>
      ))}
      <text className={styles.count} x={percentage((from + to) / 2)} y={ground - services.length * height - 5}>{services.length}</text>
    </g>
  );
}

/** Services of which no more is known than that they lie somewhere there. */
function Span({ place, services }: { place: Place; services: Group['services'] }) {
  const [from, to] = [placeInBand(place.fromMHz) - channelWidth / 2, placeInBand(place.toMHz) + channelWidth / 2];
  return (
    <g className={styles.span}>
      <rect x={percentage(from)} width={percentage(to - from)} y={ground - 12} height="6" rx="3" />
      <text className={styles.count} x={percentage((from + to) / 2)} y={ground - 20}>{services.length} somewhere here</text>
    </g>
  );
}

const last = frequencies.length - 1;

function Axis() {
  return frequencies.map((frequency, place) => (
    <g key={frequency} className={styles.tick} data-rank={place % 8 === 0 || place === last ? 'all' : place % 4 === 0 ? 'most' : 'some'}>
      <line x1={percentage(placeInBand(frequency) - channelWidth / 2)} x2={percentage(placeInBand(frequency) - channelWidth / 2)} y1={ground} y2={ground + 5} />
      {(place % 4 === 0 || place === last) && <text x={percentage(placeInBand(frequency))} y={ground + 18}>{frequency}</text>}
      {(place % 4 === 0 || place === last) && <text className={styles.channel} x={percentage(placeInBand(frequency))} y={ground + 34}>{channelOf(frequency)}</text>}
    </g>
  ));
}

/** What the picture says, for those who do not see it. */
function describe(groups: readonly Group[], searchedTo: number | undefined): string {
  const searched = searchedTo === undefined ? '' : `, searched up to ${searchedTo} MHz`;
  const found = groups.map(({ place, services }) => place && `${placeText(place)}: ${services.length} services`);
  return [`The band from 474 to 850 MHz${searched}`, ...found].filter(Boolean).join('; ');
}

/** The band to scale: how much of it has been searched, and the services where they were found. */
export function Band({ groups, percent, plan, isRunning }: BandProps) {
  const own = useTopic(added);
  const searched = plan === 'band' && percent !== undefined ? visited(percent) : 0;
  const end = searched * channelWidth;
  const elsewhere = groups.reduce((count, { place, services }) => count + (place === undefined ? services.length : 0), 0);
  return (
    <figure className={styles.band}>
      <svg role="img" aria-label={describe(groups, frequencies[searched - 1])} width="100%" height={ground + room.axis}>
        <rect className={styles.empty} x="0" y="0" width="100%" height={ground} />
        <rect className={styles.searched} x="0" y="0" width={percentage(end)} height={ground} />
        {isRunning && plan === 'band' && <line className={styles.front} x1={percentage(end)} x2={percentage(end)} y1="0" y2={ground} />}
        <Axis />
        {[...new Set(own)].map((frequency) => (
          <path key={frequency} className={styles.mark} style={{ '--at': percentage(placeInBand(frequency)) } as React.CSSProperties} d="M0 0l4 7h-8z" />
        ))}
        {groups.map(({ place, services }) => {
          const Drawn = isExact(place) ? Stack : Span;
          return place !== undefined && <Drawn key={services[0]!.uri} place={place} services={services} />;
        })}
      </svg>
      <figcaption>
        <span data-kind="tv">Television</span>
        <span data-kind="radio">Radio</span>
        <span data-kind="other">Other</span>
        <small>MHz, and UHF channel below</small>
        {elsewhere > 0 && <small>{elsewhere} not drawn: nothing tells where they were found</small>}
        {plan !== 'band' && percent !== undefined && (
          <small>{plan === 'unknown' ? 'Somebody else has started this scan, and what it goes over is not told.' : 'What the list holds is not told: only the band is searched from left to right.'}</small>
        )}
      </figcaption>
    </figure>
  );
}
