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
  simulator.on('resync', () => void simulator.worldGet().then(world.set, () => {}));
  return simulator;
}

const lookAgain = () => void look().catch(() => {}); // nobody is there; the connection will say when somebody is
tv.on('resync', lookAgain);
tv.on('state', ({ state }) => {
  if (state === 'waiting') lookAgain();
});

export const useSimulator = (): SimulatorLink => useTopic(link);

/** What there is to receive; undefined until it is known, and without a simulator. */
export const useWorld = (): World | undefined => useTopic(world);
