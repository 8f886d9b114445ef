// Not run: that it compiles is the test. Every method with what it takes and gives, and what must not compile.

import type { EventInfo, GenreStringMap, Programme, ScanInfo, ServiceInfo, SignalStatus, Tv } from '@ostrel/tv';
import type { Clock, Message, Simulator, Weather, World } from '@ostrel/tv/simulator';

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

export async function everyControl(simulator: Simulator): Promise<void> {
  let clock: Clock = await simulator.clockGet();
  clock = await simulator.clockSet({ now: 1318762800, speed: 0.1 });
  clock = await simulator.clockStep({ toNextStart: { serviceId: 1043, before: 5 } });
  let weather: Weather = await simulator.weatherGet();
  weather = await simulator.weatherSet({ rules: [{ method: 'ITVGuide::*', delayMs: [200, 800] }, { drop: 'reply' }], seed: 7 });
  let done: true = await simulator.signalSet({ strength: 80, quality: 35 });
  done = await simulator.reset();
  const world: World = await simulator.worldGet();
  let messages: Message[] = await simulator.trafficGet();
  messages = await simulator.trafficGet({ last: 10 });
  done = await simulator.trafficWatch({ on: true });
  const stop: () => void = simulator.on('traffic', ({ text, missed }) => console.log(text, (missed ?? 0) + 1));
  for await (const { params } of simulator.events('clock')) console.log(params.speed);
  console.log(clock, weather, done, world, messages, stop);
}

export function mistakesWithControls(simulator: Simulator): void {
  // @ts-expect-error  nothing is lost so
  void simulator.weatherSet({ rules: [{ drop: 'everything' }] });
  // @ts-expect-error  a member is missing
  void simulator.signalSet({ strength: 80 });
  // @ts-expect-error  there are no contexts here
  void simulator.trafficWatch({ context: 1, on: true });
  // @ts-expect-error  that is told by the service, not by its simulator
  simulator.on('scanStart', () => {});
}
