// A host for one test: started on a port that the system chooses, with the clock at noon in London
// on the day in the middle of the guide, and stopped at the test's end.

import { Conversation } from '@ostrel/conform/conversation.js';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { createInterface } from 'node:readline';
import { fileURLToPath } from 'node:url';

const program =
  process.env.OSTREL_TVD ?? fileURLToPath(new URL('../../build/release/host/ostrel-tvd', import.meta.url));

/**
 * Starts a host and returns its address, HOST:PORT.
 * @param test     its end is the host's; a host that ends badly fails it
 * @param options  further ones of the host's command line
 */
export async function startHost(test, ...options) {
  let log = ''; // the end of what it wrote to standard error
  const host = spawn(program, ['--listen', '127.0.0.1:0', '--fake-time', '--log-level', 'error', ...options], {
    env: { ...process.env, TZ: 'Europe/London' },
    stdio: ['ignore', 'pipe', 'pipe'],
  });
  host.stderr.on('data', (text) => (log = (log + text).slice(-65536)));
  const ended = once(host, 'exit').then(([status]) => status);
  test.after(async () => {
    host.kill();
    assert.equal(await ended, 0, `${program} ended badly:\n${log}`);
  });
  const [line] = await Promise.race([
    once(createInterface(host.stdout), 'line'), // it ends with the address
    ended.then(() => assert.fail(`${program} does not start:\n${log}`)),
  ]);
  return line.split('http://')[1];
}

/** Starts a host and connects to one of its servers. */
export async function converse(test, server) {
  return Conversation.open(`ws://${await startHost(test)}/rpc/${server}`);
}
