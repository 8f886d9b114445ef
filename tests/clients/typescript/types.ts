// Not run: that it compiles is the test. Every method with what it takes and gives, and what must not compile.

import type { EventInfo, GenreStringMap, Programme, ScanInfo, ServiceInfo, SignalStatus, Simulator, Tv } from '@ostrel/tv';

export async function everyMethod({ service, scan, guide }: Tv): Promise<void> {
  const context: number = await service.createContext();
  const nothing: null = await service.deleteContext({ context });
  let done: true = await service.serviceListSet({ base: 'all' });
  let services: ServiceInfo[] = await service.serviceListGet({ limit: 1 });
  services = await service.serviceListRead({ limit: 1 });
  let place: number = await service.serviceListSeek({ offset: -1, whence: 1 });
  place = await service.serviceListSeekByUri({ uri: 'dvb://233a..1041' });
  place = await service.serviceListSeekByChannelNumber({ channelNumber: 1 });
  done = await service.serviceListDelete();
  done = await service.serviceListDeleteAll({ timeout: 100 });
  let documents: string[] = await service.nowNextGet({ id: 1043, outputFormat: 'quorilxml' });
  const signal: SignalStatus = await service.signalStatusGet({ sourceId: 0 });
  const now: number = await service.utcTimeGet();

  const tuningParams = { frequencyKHz: 690_000 };
  done = await scan.transponderListAdd({ sourceId: 0, tuningParams });
  done = await scan.transponderListDeleteAll({ sourceId: 0 });
  done = await scan.scanBlindStart({ sourceId: 0, useNIT: 0 });
  done = await scan.scanStart({ sourceId: 0, useNIT: 0 });
  done = await scan.scanHomeStart({ sourceId: 0, useNIT: 0, tuningParams });
  const wasScanning: boolean = await scan.scanStop({ sourceId: 0 });
  const info: ScanInfo = await scan.scanInfoGet({ sourceId: 0 });

  let events: EventInfo[] = await guide.queryEventInfo({ query: { timeRange: { base: now, limit: now + 3600 } } });
  events = await guide.queryNowNextEventInfo({ id: 1043 });
  const programmes: Programme[] = await guide.query('ServiceId == 1043');
  documents = await guide.query({ expression: '', expressionFormat: 'quoril', outputFormat: 'quoriljson' });
  const genres: GenreStringMap[] = await guide.getGenreStringMapList();

  console.log(nothing, done, services, place, documents, signal, wasScanning, info, events, programmes, genres);
}

export async function plainCalls(tv: Tv): Promise<void> {
  const now: number = await tv.call('ITVService::utcTimeGet', {});
  const genres: GenreStringMap[] = await tv.call('ITVGuide::getGenreStringMapList');
  const unknown: unknown = await tv.call('Later::method', { any: 'thing' });
  const [time, services] = await tv.batch((b) => [b.service.utcTimeGet(), b.service.serviceListGet({ limit: 5 })]);
  const both: [number, ServiceInfo[]] = [time, services];
  console.log(now, genres, unknown, both);
}

export async function hearing(tv: Tv): Promise<void> {
  const stop: () => void = tv.on('scanProgress', ({ percent }) => console.log(percent + 1));
  stop();
  for await (const event of tv.events('scan*')) {
    const name: 'scanStart' | 'scanProgress' | 'scanComplete' = event.name;
    if (event.name === 'scanProgress') console.log(name, event.params.percent);
    // @ts-expect-error  only progress has a percentage
    else console.log(event.params.percent);
  }
}

export function mistakes(tv: Tv): void {
  // @ts-expect-error  there is no such list
  void tv.service.list({ base: 'All' });
  // @ts-expect-error  whence is 0, 1 or 2
  void tv.service.serviceListSeek({ offset: 0, whence: 3 });
  // @ts-expect-error  a member is missing
  void tv.call('ITVService::serviceListSeek', { offset: 0 });
  // @ts-expect-error  a member is misspelt
  void tv.guide.queryEventInfo({ query: { serviceIds: [1043] } });
  // @ts-expect-error  there is no such event
  tv.on('scanStopped', () => {});
}

type Params<M extends keyof Simulator.Methods> = Simulator.Methods[M]['params'];

export const controls: Simulator.Methods[keyof Simulator.Methods]['params'][] = [
  { now: 1318762800, speed: 0.1 } satisfies Params<'Simulator::clockSet'>,
  { toNextStart: { serviceId: 1043, before: 5 } } satisfies Params<'Simulator::clockStep'>,
  { rules: [{ method: 'ITVGuide::*', delayMs: [200, 800] }, { drop: 'reply' }], seed: 7 } satisfies Params<'Simulator::weatherSet'>,
  { strength: 80, quality: 35 } satisfies Params<'Simulator::signalSet'>,
  { last: 10 } satisfies Params<'Simulator::trafficGet'>,
  { on: true } satisfies Params<'Simulator::trafficWatch'>,
  undefined satisfies Params<'Simulator::clockGet' | 'Simulator::weatherGet' | 'Simulator::reset' | 'Simulator::worldGet'>,
];

export const wrongControls: unknown[] = [
  // @ts-expect-error  nothing of that name can get lost
  { rules: [{ drop: 'everything' }] } satisfies Params<'Simulator::weatherSet'>,
  // @ts-expect-error  it takes both
  { strength: 80 } satisfies Params<'Simulator::signalSet'>,
  // @ts-expect-error  it takes no context
  { context: 1, on: true } satisfies Params<'Simulator::trafficWatch'>,
];

export const told = ({ clock, weather, traffic }: Simulator.Notifications): [number, Simulator.CountedRule[], string] => [
  clock.speed,
  weather.rules,
  traffic.text,
];
