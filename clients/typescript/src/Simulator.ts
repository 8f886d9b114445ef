// SPDX-License-Identifier: Apache-2.0

import { Connection, type ConnectOptions } from './Connection.js';
import { opened } from './Conversation.js';
import { notifications, results, SimulatorMethods } from './generated/simulator.js';

export type { ConnectOptions };
export type * from './generated/simulator.js';

/**
 * Connects to the controls of a simulated service: its clock, weather, signal and traffic.
 *
 * @param url  the service's address, such as `ws://127.0.0.1:8480`
 * @throws {ConnectionLost} the service could not be reached, has no simulator, or refuses the token
 */
export async function connectSimulator(url: string | URL, options: ConnectOptions = {}): Promise<Simulator> {
  const simulator = new Simulator(url, options);
  await opened(simulator, url);
  return simulator;
}

/** The controls of a simulated service. All that is set holds for everybody who uses that service. */
export class Simulator extends SimulatorMethods {
  constructor(url: string | URL, options: ConnectOptions = {}) {
    super(new Connection(url, options, { name: 'Simulator', results, notifications }));
  }
}
