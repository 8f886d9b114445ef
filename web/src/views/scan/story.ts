import type { ScanInfo, ServiceInfo } from '@ostrel/tv';
import type { Message } from '@ostrel/tv/simulator';
import type { Seconds } from '../../parts/time';
import { bandSecondsLeft, channelOf, firstMHz, frequencies, rasterMHz, visited } from './band';

/** What a scan goes over. The service does not tell those who have not started it. */
export type Plan = 'band' | 'transponders' | 'unknown';

/** How far a scan was when the service was asked, and how many new services it had found by then. */
export interface Sample {
  percent: number;
  count: number;
  /** By the service's clock; undefined where that is not known. */
  at?: Seconds | undefined;
}

/** What is known of the latest scan. */
export interface Story {
  plan: Plan;
  /** In the order of time; neither number ever falls. */
  samples: readonly Sample[];
}

export const noStory: Story = { plan: 'unknown', samples: [] };

/** How many services are new: television, radio and other. The service's own count is another. */
export const countNew = ({ tvServices, radioServices, type3Services }: ScanInfo): number => tvServices + radioServices + type3Services;

/** Puts another sample behind the others. Where a number has fallen another scan has begun, without a word. */
export function withSample(story: Story, sample: Sample): Story {
  const last = story.samples.at(-1);
  if (last === undefined) return { ...story, samples: [sample] };
  if (sample.percent < last.percent || sample.count < last.count) return { plan: 'unknown', samples: [sample] };
  if (sample.percent === last.percent && sample.count === last.count) return story;
  return { ...story, samples: [...story.samples, sample] };
}

/** The frequencies that a service was found between, both included. */
export interface Place {
  fromMHz: number;
  toMHz: number;
}

/**
 * Where a scan of the whole band has found its new services, which come in the order of finding. What was new at one
 * sample and not at the one before lies between the two, and a scan that was watched from its start says it exactly.
 */
export function placesOf({ plan, samples }: Story, services: number): (Place | undefined)[] {
  if (plan !== 'band') return Array.from({ length: services }, () => undefined);
  return Array.from({ length: services }, (_, service) => {
    const found = samples.findIndex(({ count }) => count > service);
    if (found === -1) return undefined;
    const from = visited(samples[found - 1]?.percent ?? 0);
    const to = visited(samples[found]!.percent) - 1;
    return to < from ? undefined : { fromMHz: firstMHz + from * rasterMHz, toMHz: frequencies[to]! };
  });
}

/** A place in words. */
export function placeText(place: Place | undefined): string {
  if (place === undefined) return 'Frequency not known';
  if (place.fromMHz !== place.toMHz) return `Between ${place.fromMHz} and ${place.toMHz} MHz`;
  const channel = channelOf(place.fromMHz);
  return `${place.fromMHz} MHz${channel === undefined ? '' : ` · channel ${channel}`}`;
}

/** New services that were found together. */
export interface Group {
  place: Place | undefined;
  services: readonly ServiceInfo[];
}

/** Puts new services together by where they were found, in the order of finding. */
export function groupsOf(services: readonly ServiceInfo[], places: readonly (Place | undefined)[]): Group[] {
  const groups: { place: Place | undefined; services: ServiceInfo[] }[] = [];
  services.forEach((service, number) => {
    const place = places[number];
    const last = groups.at(-1);
    if (last !== undefined && last.place?.fromMHz === place?.fromMHz && last.place?.toMHz === place?.toMHz) last.services.push(service);
    else groups.push({ place, services: [service] });
  });
  return groups;
}

/** How many seconds of the service's clock a scan has still to go; undefined while nobody can know. */
export function secondsLeft({ plan, samples }: Story): number | undefined {
  const last = samples.at(-1);
  if (last === undefined) return undefined;
  if (plan === 'band') return bandSecondsLeft(last.percent);
  const first = samples.find(({ at }) => at !== undefined);
  if (first?.at === undefined || last.at === undefined || last.percent <= first.percent || last.at <= first.at) return undefined;
  return ((100 - last.percent) * (last.at - first.at)) / (last.percent - first.percent);
}

/** What a reply to scanInfoGet says; undefined of any other message. */
function sampleIn({ direction, text }: Message): Sample | undefined {
  if (direction !== 'reply' || !text.includes('"tvServices"')) return undefined;
  try {
    const { result } = JSON.parse(text) as { result: ScanInfo };
    return { percent: result.progress, count: countNew(result) };
  } catch {
    return undefined; // a batch, or cut off
  }
}

/** Makes out of what has passed at the service what the latest scan goes over, and what others were told of it. */
export function storyIn(messages: readonly Message[]): Story {
  let asked: Plan = 'unknown';
  let story = noStory;
  for (const message of messages) {
    const { direction, method } = message;
    if (direction === 'request' && /(^|::)scanBlindStart$/.test(method)) asked = 'band';
    else if (direction === 'request' && /(^|::)scanStart$/.test(method)) asked = 'transponders';
    else if (direction === 'notification' && method === 'ITVConfig::onScanStart') story = { plan: asked, samples: [] };
    else if (story.plan !== 'unknown') {
      const sample = sampleIn(message);
      if (sample !== undefined) story = withSample(story, sample);
    }
  }
  return story;
}

/** Two tellings of one scan as one: `earlier` is what others were told, `own` what this page was. */
export function joined(earlier: Story, own: Story): Story {
  const first = own.samples[0];
  const before = first === undefined ? earlier.samples : earlier.samples.filter(({ percent, count }) => percent <= first.percent && count <= first.count);
  return { plan: earlier.plan, samples: [...before, ...own.samples] };
}
