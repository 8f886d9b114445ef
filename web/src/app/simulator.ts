import { Simulator, type World } from '@ostrel/tv/simulator';
import { Topic, useTopic } from '../parts/Topic';
import { address, headers, token, tv } from './service';

/** The controls of the simulation, as far as the page can reach them. */
export interface SimulatorLink {
  /** `off`: the host was started with --no-simulator. `kept out`: it wants another token than the page has. */
  state: 'unknown' | 'on' | 'off' | 'kept out';
  /** While it is `on`; it mends itself as the page's own connection does. */
  simulator?: Simulator;
}

const link = new Topic<SimulatorLink>({ state: 'unknown' });
const world = new Topic<World | undefined>(undefined);

/** A socket is not told why it is kept out; an ordinary request for the same server is. */
async function look(): Promise<void> {
  const { status } = await fetch('/openrpc/Simulator.json', { method: 'HEAD', headers, cache: 'no-store' });
  const { simulator } = link.get();
  if (status === 200 && simulator !== undefined) return;
  if (status === 200) return link.set({ state: 'on', simulator: follow() });
  if (status !== 401 && status !== 404) return; // a proxy whose service is away
  simulator?.close();
  world.set(undefined);
  link.set({ state: status === 401 ? 'kept out' : 'off' });
}

function follow(): Simulator {
  const simulator = new Simulator(address, { token, longestPause: 8000 });
  simulator.on('resync', askWorld);
  return simulator;
}

/** The longest that a browser waits, in milliseconds. */
const longest = 2 ** 31 - 1;
/** Before the guide is asked for again where it has not turned yet, in milliseconds. */
const again = 1000;
/** At any moment one of the guide's days lies behind, in seconds. */
const behind = 86_400;

let turn: ReturnType<typeof setTimeout> | undefined;

const askWorld = (): void =>
  void link.get().simulator?.worldGet().then((found) => {
    world.set(found);
    waitForTurn();
  }, () => {}); // asked on the next connection

/** Where the guide is laid around the service's time, it is another one as that goes on. */
function waitForTurn(): void {
  clearTimeout(turn);
  const turnsAt = world.get()?.turnsAt;
  const left = turnsAt === undefined ? Infinity : tv.clock.msecUntil(turnsAt);
  if (left < Infinity) turn = setTimeout(left > longest ? waitForTurn : askWorld, Math.min(Math.max(left, again), longest));
}

tv.on('clock', () => {
  const { start = 0, turnsAt } = world.get() ?? {};
  const isIn = turnsAt === undefined || (tv.clock.msecUntil(turnsAt) > 0 && tv.clock.now() - start >= behind);
  if (isIn) waitForTurn();
  else askWorld();
});

const lookAgain = () => void look().catch(() => {}); // nobody is there; the connection will say when somebody is
tv.on('resync', lookAgain);
tv.on('state', ({ state }) => {
  if (state === 'waiting') lookAgain();
});

export const useSimulator = (): SimulatorLink => useTopic(link);

/** What there is to receive; undefined until it is known, and without a simulator. */
export const useWorld = (): World | undefined => useTopic(world);
