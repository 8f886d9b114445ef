// A host for a test: midday of the guide's middle day in London, where the clock stands unless it is told otherwise.

import { connectSimulator, type Simulator } from '@ostrel/tv/simulator';
import { onTestFinished } from 'vitest';
import { Host } from '../../../tests/clients/typescript/host.js';

export { connected, Host } from '../../../tests/clients/typescript/host.js';

/** What the clock stands at: midday in London of the guide's middle day. */
export const noon = 1318762800;

/** @param more  options of ostrel-tvd; `--hold=false` lets the clock run */
export const startHost = (...more: string[]): Promise<Host> => Host.start('127.0.0.1:0', '--hold', ...more);

/** The controls of a host's simulation, for one test. */
export async function simulatorOf(host: Host, token?: string): Promise<Simulator> {
  const simulator = await connectSimulator(host.url, { token });
  onTestFinished(() => simulator.close());
  return simulator;
}
