/** The band that is searched: channels 21 to 68 of 8 MHz each, by the frequencies in their middles. */
export const firstMHz = 474;
const lastMHz = 850;
export const rasterMHz = 8;

export const frequencies: readonly number[] = Array.from(
  { length: (lastMHz - firstMHz) / rasterMHz + 1 },
  (_, place) => firstMHz + place * rasterMHz,
);

const edge = firstMHz - rasterMHz / 2;
const width = frequencies.length * rasterMHz;

/** The UHF channel of a frequency; undefined where none has its middle there. */
export function channelOf(frequencyMHz: number): number | undefined {
  const place = (frequencyMHz - firstMHz) / rasterMHz;
  return Number.isInteger(place) && place >= 0 && place < frequencies.length ? 21 + place : undefined;
}

/** Where a frequency stands in the drawing of the band, from 0 at its lower edge to 1 at its upper. */
export const placeInBand = (frequencyMHz: number): number => (frequencyMHz - edge) / width;

/** How wide a channel is drawn, of the whole. */
export const channelWidth = rasterMHz / width;

/** How many of so many frequencies have been looked at when a scan says so many percent: rounded to the nearest. */
export const visited = (percent: number, count = frequencies.length): number => Math.floor((count * percent + 50) / 100);

/** The seconds of the service's clock that a scan of the whole band has still to go: one a frequency. */
export const bandSecondsLeft = (percent: number): number => frequencies.length - Math.ceil((percent * frequencies.length) / 100);
