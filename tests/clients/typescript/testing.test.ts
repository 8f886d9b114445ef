// withSimulator(): a service for one test, that is gone afterwards.

import { connect, ConnectionLost } from '@ostrel/tv';
import { withSimulator } from '@ostrel/tv/testing';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { expect, onTestFinished, test } from 'vitest';

test('gives what the test gives, and the service has ended then', async () => {
  const url = await withSimulator(async (simulator, url) => {
    expect(await simulator.worldGet()).toMatchObject({ services: 96 });
    const tv = await connect(url);
    expect(await tv.service.list()).toHaveLength(96);
    tv.close();
    return url;
  });
  await expect(connect(url)).rejects.toThrow(ConnectionLost);
});

test('throws what the test throws, and the service has ended then', async () => {
  let url = '';
  const failing = withSimulator(async (_, its) => {
    url = its;
    throw new Error('of the test');
  });
  await expect(failing).rejects.toThrow('of the test');
  await expect(connect(url)).rejects.toThrow(ConnectionLost);
});

test('says why a service does not start', async () => {
  const never = async () => expect.fail('there is no service');
  await expect(withSimulator(never, { program: '/nowhere/ostrel-tvd' })).rejects.toThrow(/ENOENT; OSTREL_TVD says where/);
  await expect(withSimulator(never, { args: ['--nonsense'] })).rejects.toThrow(/ended with 2:\n.*--nonsense/s);
  await expect(withSimulator(never, { args: ['--no-simulator'] })).rejects.toThrow(ConnectionLost);

  const folder = mkdtempSync(join(tmpdir(), 'ostrel-'));
  onTestFinished(() => rmSync(folder, { recursive: true }));
  const silent = join(folder, 'silent');
  writeFileSync(silent, '#!/bin/sh\nexec sleep 600\n', { mode: 0o755 });
  await expect(withSimulator(never, { program: silent, timeout: 100 })).rejects.toThrow('has not started within 100 ms');
});
