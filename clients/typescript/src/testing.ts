// SPDX-License-Identifier: Apache-2.0

/// <reference types="node" />
import { type ChildProcess, spawn } from 'node:child_process';
import { createInterface } from 'node:readline';
import { connectSimulator, type Simulator } from './Simulator.js';

/** How a service is started for a test. */
export interface SimulatedOptions {
  /** Options of `ostrel-tvd` beside its address. Default: `--fake-time`, midday of this machine's time
   * zone in the middle of the guide. */
  args?: readonly string[] | undefined;
  /** Where `ostrel-tvd` is. Default: what OSTREL_TVD in the environment says, or else the one in the PATH. */
  program?: string | undefined;
  /** How long it may take to start, in milliseconds. Default: 30000. */
  timeout?: number | undefined;
}

/** What the end of its output is kept of, in characters, to tell why it did not start. */
const mostKept = 4096;

/** Kills it if it does not end by itself, in milliseconds. */
const patience = 10_000;

/** Returns its address. */
async function start(host: ChildProcess, program: string, timeout: number): Promise<string> {
  let said = '';
  host.stderr?.on('data', (text) => (said = (said + text).slice(-mostKept)));
  let timer: ReturnType<typeof setTimeout> | undefined;
  try {
    return await new Promise<string>((resolve, reject) => {
      const fail = (why: string) => reject(new Error(`${program} ${why}${said && `:\n${said.trim()}`}`));
      timer = setTimeout(() => fail(`has not started within ${timeout} ms`), timeout);
      host.on('error', ({ message }) => fail(`cannot be started: ${message}; OSTREL_TVD says where it is`));
      host.on('close', (status, signal) => fail(`does not start, it ended with ${signal ?? status}`));
      createInterface(host.stdout!).once('line', (line) => resolve(line.replace(/^.*http:/, 'ws:')));
    });
  } finally {
    clearTimeout(timer);
  }
}

async function stop(host: ChildProcess): Promise<void> {
  if (host.pid === undefined || host.exitCode !== null || host.signalCode !== null) return;
  const ended = new Promise((resolve) => host.once('exit', resolve));
  const timer = setTimeout(() => host.kill('SIGKILL'), patience);
  host.kill();
  await ended;
  clearTimeout(timer);
}

/**
 * Runs a test with a service of its own, on Node: starts `ostrel-tvd` on a free port, waits until it answers, and
 * stops it however the test ends.
 *
 * @param test  is given the simulator's controls, and the address for the client under test
 * @returns what the test returns
 * @throws what the test throws; Error when the service does not start, with what it said
 */
export async function withSimulator<T>(
  test: (simulator: Simulator, url: string) => Promise<T>,
  { args = ['--fake-time'], program = process.env.OSTREL_TVD ?? 'ostrel-tvd', timeout = 30_000 }: SimulatedOptions = {},
): Promise<T> {
  const host = spawn(program, ['--listen', '127.0.0.1:0', ...args], { stdio: ['ignore', 'pipe', 'pipe'] });
  let simulator: Simulator | undefined;
  try {
    const url = await start(host, program, timeout);
    simulator = await connectSimulator(url, { timeout });
    return await test(simulator, url);
  } finally {
    simulator?.close();
    await stop(host);
  }
}
