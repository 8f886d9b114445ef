import type { Simulator } from '@ostrel/tv/simulator';
import { useEffect, useState } from 'react';
import { listenToOwn, passedLately } from '../../app/ownTraffic';
import { tv } from '../../app/service';
import { useSimulator } from '../../app/simulator';
import type { Message } from './message';
import { OwnMessages } from './ownMessages';
import { TrafficLog } from './TrafficLog';

/** What has passed; it stays while the viewer is elsewhere. */
export const log = new TrafficLog();

/** How many of those that have passed before are asked for. */
const asked = 2000;

/** What the page has sent lately with its context, which no other client knows: it tells the page's own connection. */
const sent = new Set<string>();
let own: number | undefined;

for (const message of passedLately()) remember(message);
listenToOwn(remember);
tv.on('resync', () => {
  own = undefined;
  sent.clear();
});

function remember({ direction, text }: { direction: string; text: string }): void {
  if (direction !== 'sent' || own !== undefined || !text.includes('"params":{"context":')) return;
  if (sent.size === 100) sent.clear();
  sent.add(text);
}

function take(message: Message): void {
  if (own === undefined && message.direction === 'request' && sent.has(message.text)) own = message.connection;
  log.add(message);
}

/** What a message's client is called; empty for what goes to all. */
export function nameOf({ connection, client }: Message): string {
  if (connection === 0) return '';
  return connection === own || client === '' ? 'this page' : `#${connection} ${client}`;
}

let skew = 0; // seconds that the host's clock is ahead of this one

/** What time it is for messages, in seconds. */
export const now = (): number => Date.now() / 1000 + skew;

/** Follows what all clients say, from the connection's start and whenever there is a new one. */
function follow(simulator: Simulator, tell: (status: Status) => void): () => void {
  let early: Message[] | undefined = []; // what comes before what was
  let isOver = false;
  const start = async () => {
    early = [];
    try {
      await simulator.trafficWatch({ on: true });
      const before = await simulator.trafficGet({ last: asked });
      if (isOver) return;
      const got = [...before, ...early];
      for (const { direction, text, connection } of got) if (direction === 'request' && sent.has(text)) own = connection;
      log.catchUp(got);
      early = undefined;
      tell({ state: 'live' });
    } catch (error) {
      if (!isOver && simulator.state === 'open') tell({ state: 'failed', error: error as Error, retry: () => void start() });
    }
  };
  const stops = [
    simulator.on('resync', () => void start()),
    simulator.on('traffic', (message) => {
      skew = message.time - Date.now() / 1000;
      if (early === undefined) take(message);
      else early.push(message);
    }),
  ];
  if (simulator.state === 'open') void start();
  return () => {
    isOver = true;
    for (const stop of stops) stop();
    if (simulator.state === 'open') simulator.trafficWatch({ on: false }).catch(() => {});
  };
}

/** Follows what this page says, without a simulator. */
function followOwn(): () => void {
  const messages = new OwnMessages();
  skew = 0;
  log.catchUp(passedLately().flatMap((message) => messages.read(message)));
  const stops = [
    listenToOwn((message) => messages.read(message).forEach(take)),
    tv.on('state', ({ state }) => {
      if (state === 'waiting') messages.forget();
    }),
  ];
  return () => stops.forEach((stop) => stop());
}

export type Status = { state: 'loading' | 'live' | 'own' } | { state: 'failed'; error: Error; retry: () => void };

/** Lets the log follow what passes while the component is there. */
export function useFeed(): Status {
  const { state, simulator } = useSimulator();
  const [status, tell] = useState<Status>({ state: 'loading' });
  useEffect(() => {
    if (simulator !== undefined) return follow(simulator, tell);
    if (state !== 'off') return;
    tell({ state: 'own' });
    return followOwn();
  }, [state, simulator]);
  useEffect(() => {
    const timer = setInterval(() => log.sweep(now()), 1000);
    return () => clearInterval(timer);
  }, []);
  return status;
}
