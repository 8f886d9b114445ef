// A service with 1,000 channels and a guide of 14 days, larger than what a host can be given: it answers what the page
// asks, at once and always the same.

import { createServer } from 'node:http';
import type { AddressInfo } from 'node:net';
import type { EventInfo, ServiceInfo } from '@ostrel/tv';
import { onTestFinished } from 'vitest';
import { WebSocketServer } from 'ws';
import type { Host } from './host.js';

const day = 86_400;
const minute = 60;
const serviceCount = 1000;
const dayCount = 14;

/** Midnight of the guide's first day. */
const first = Date.UTC(2011, 9, 9) / 1000;
/** When the service starts: midday in the middle. */
export const bigNoon = first + 7 * day + 12 * 3600;

/** Minutes that programmes last, from a cartoon to a film. */
const lengths = [5, 10, 15, 25, 30, 30, 30, 45, 60, 60, 60, 90, 120, 180];
const words = ['Harbour', 'Evening', 'Lighthouse', 'Garden', 'Orchestra', 'Mountain', 'Kitchen', 'Detective', 'Winter', 'Journey'];
const genres = [16, 35, 50, 67, 85, 97, 113, 129, 145, 165, 179];

/** The next of a row of numbers that looks like chance and never changes. */
const scramble = (seed: number): number => Math.imul(seed ^ (seed >>> 15), 0x2c1b3c6d) >>> 0;

const services: readonly ServiceInfo[] = Array.from({ length: serviceCount }, (_, i) => ({
  channelNumber: i + 1,
  name: `${words[i % words.length]} ${1 + Math.floor(i / words.length)}`,
  uri: `dvb://233a..${(i + 1).toString(16)}`,
  id: 1000 + i,
  type: i % 10 === 9 ? 2 : 1,
  provider: 'Big',
  scrambled: false,
  highDefinition: i % 7 === 0,
  visible: true,
  selectable: true,
}));

/** What a service shows on a day of the guide. */
function programmes(serviceId: number, ofDay: number): EventInfo[] {
  const events: EventInfo[] = [];
  const end = first + (ofDay + 1) * day;
  let seed = scramble(serviceId * 1000 + ofDay + 1);
  for (let at = first + ofDay * day; at < end; ) {
    seed = scramble(seed + at);
    const endTime = Math.min(end, at + lengths[seed % lengths.length]! * minute);
    const title = `${words[(seed >>> 4) % words.length]} and ${words[(seed >>> 8) % words.length]}`;
    const description = `${title}: what happens next, and why nobody at the ${words[(seed >>> 12) % words.length]} saw it coming.`;
    const genre = genres[(seed >>> 16) % genres.length]!;
    events.push({ serviceId, startTime: at, endTime, title, description, highDefinition: false, extra: 0, genres: [genre] });
    at = endTime;
  }
  return events;
}

interface Asked {
  timeRange?: { base: number; limit: number; strict?: boolean };
  serviceIdList?: number[];
  sliceRange?: { base: number; limit: number };
}

/** A slice of what starts at a time or later, by its start. */
function eventsFrom(start: number, { base, limit }: { base: number; limit: number }): EventInfo[] {
  const events: EventInfo[] = [];
  for (let ofDay = Math.floor((start - first) / day); ofDay < dayCount && events.length < limit; ofDay += 1)
    events.push(...queryEventInfo({ timeRange: { base: first + ofDay * day, limit: first + (ofDay + 1) * day } }).filter(({ startTime }) => startTime >= start));
  return events.slice(base, limit);
}

function queryEventInfo({ timeRange: { base, limit, strict } = { base: first, limit: first + day }, serviceIdList, sliceRange }: Asked): EventInfo[] {
  if (strict === true && sliceRange !== undefined) return eventsFrom(base, sliceRange);
  const days = Array.from({ length: dayCount }, (_, i) => i).filter((i) => first + i * day < limit && first + (i + 1) * day > base);
  const wanted = serviceIdList ?? services.map(({ id }) => id);
  return wanted
    .flatMap((id) => days.flatMap((each) => programmes(id, each)))
    .filter(({ startTime, endTime }) => startTime < limit && endTime > base)
    .sort((a, b) => a.startTime - b.startTime);
}

const noScan = Object.fromEntries(
  ['progress', 'servicesFound', 'tvServices', 'radioServices', 'type3Services', 'type', 'reserved1', 'reserved2', 'reserved3', 'reserved4',
    'reserved5', 'reserved6', 'reserved7'].map((name) => [name, 0]),
);

interface Request {
  id: number;
  method: string;
  params?: { payload?: { query?: Asked; id?: number } };
}

/** A service that runs since `started`, by performance.now(). */
function answer({ method, params }: Request, started: number): unknown {
  const now = bigNoon + Math.floor((performance.now() - started) / 1000);
  switch (method.split('::')[1]) {
    case 'createContext': return 1;
    case 'deleteContext': case 'serviceListSet': return true;
    case 'serviceListGet': return services;
    case 'utcTimeGet': return now;
    case 'getGenreStringMapList': case 'query': return [];
    case 'scanInfoGet': return { scanning: false, ...noScan };
    case 'queryEventInfo': return queryEventInfo(params?.payload?.query ?? {});
    case 'queryNowNextEventInfo':
      return queryEventInfo({ serviceIdList: [params?.payload?.id ?? 0], timeRange: { base: now, limit: now + 7200 } }).slice(0, 2);
    default: return undefined;
  }
}

/** Starts it for one test. @param host  where the page's files come from */
export async function startBigWorld(host: Pick<Host, 'address'>): Promise<{ address: string }> {
  const started = performance.now();
  const reply = (request: Request) => {
    const result = answer(request, started);
    return { jsonrpc: '2.0', id: request.id, ...(result === undefined ? { error: { code: -32601, message: request.method } } : { result }) };
  };
  const server = createServer(async ({ url = '', method = 'GET' }, response) => {
    if (url.startsWith('/openrpc')) return response.writeHead(404).end(); // it has no simulator
    const file = await fetch(`http://${host.address}${url}`, { method });
    response.writeHead(file.status, { 'content-type': file.headers.get('content-type') ?? 'text/plain' });
    response.end(Buffer.from(await file.arrayBuffer()));
  });
  const sockets = new WebSocketServer({ server, path: '/rpc/TV' });
  sockets.on('connection', (socket) =>
    socket.on('message', (text) => {
      const message = JSON.parse(String(text)) as Request | Request[];
      socket.send(JSON.stringify(Array.isArray(message) ? message.map(reply) : reply(message)));
    }),
  );
  await new Promise<void>((done) => server.listen(0, '127.0.0.1', done));
  onTestFinished(() => {
    for (const socket of sockets.clients) socket.terminate();
    return new Promise<void>((done) => server.close(() => done()));
  });
  return { address: `127.0.0.1:${(server.address() as AddressInfo).port}` };
}
