// "Copy as": what is copied is run as it stands, and answers what the page's own call does.

import { spawnSync } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname } from 'node:path';
import { fileURLToPath } from 'node:url';
import type { Tv } from '@ostrel/tv';
import type { Simulator } from '@ostrel/tv/simulator';
import { beforeAll, expect, onTestFinished, test } from 'vitest';
import { callAs, type CallLike } from '../src/parts/callAs';
import { connected, Host, noon, simulatorOf, startHost } from './support/host.js';

const root = fileURLToPath(new URL('../..', import.meta.url));
const tool = process.env.OSTREL_TV ?? `${root}build/release/clients/tool/ostrel-tv`;

const calls: CallLike[] = [
  { method: 'ITVService::utcTimeGet', payload: {} },
  { method: 'ITVService::serviceListSet', payload: { base: 'all' } },
  { method: 'ITVService::nowNextGet', payload: { id: 1043, outputFormat: 'quorilxml' } },
  { method: 'ITVService::signalStatusGet', payload: { sourceId: 1 } },
  { method: 'ITVGuide::getGenreStringMapList' },
  {
    method: 'ITVGuide::queryEventInfo',
    payload: { query: { serviceIdList: [1043, 1044], timeRange: { base: noon, limit: noon + 3600 }, orderByServiceIdPriority: 0 } },
  },
  { method: 'ITVGuide::query', payload: { expression: `ServiceId == 1043 && Start == ${noon}`, expressionFormat: 'quoril', outputFormat: 'quoriljson' } },
  ...['Gate', "'", `)"'$HOME\`\\`, 'é\n日'].map((text) => ({ method: 'ITVGuide::queryEventInfo', payload: { query: { stringList: [text], sliceRange: { base: 0, limit: 9 } } } })),
  { method: 'rpc.discover' },
  { method: 'Simulator::clockGet' },
  { method: 'Simulator::worldGet' },
  { method: 'Simulator::signalSet', payload: { strength: 80, quality: 35 } },
];

/** What a command line prints, read as JSON. Its last line is a reply, or a result. */
function run(text: string): unknown {
  const { status, stdout, stderr } = spawnSync('bash', ['--norc', '-euc', text], { encoding: 'utf8', maxBuffer: 2 ** 26 });
  expect({ status, stderr }, text).toEqual({ status: 0, stderr: '' });
  return JSON.parse(stdout);
}

/** What the page's own call answers; the time that passes is left out. */
async function answerOf({ method, payload }: CallLike, tv: Tv, simulator: Simulator): Promise<unknown> {
  const on = method.startsWith('Simulator::') ? simulator : tv;
  return (on.call as (method: string, payload?: unknown) => Promise<unknown>)(method, payload);
}

const timeless = (value: unknown) => JSON.parse(JSON.stringify(value, (key, member) => (key === 'real' ? 0 : member)) ?? 'null');

test.each(['curl', 'tool', 'typescript'] as const)('as %s', async (language) => {
  const host = await startHost();
  const [tv, simulator] = [await connected(host.url), await simulatorOf(host)];
  for (const call of calls) {
    const text = callAs(call, `http://${host.address}`)[language];
    const wanted = timeless(await answerOf(call, tv, simulator));
    expect(timeless(await answered(text)), text).toEqual(wanted);
  }

  async function answered(text: string): Promise<unknown> {
    if (language === 'curl') return (run(text) as { result: unknown }).result;
    if (language === 'tool') return run(text.replace(/^ostrel-tv/, `'${tool}' --url 'ws://${host.address}'`));
    const Program = (async () => {}).constructor as new (...text: string[]) => (tv: Tv, simulator: Simulator) => Promise<unknown>;
    return new Program('tv', 'simulator', text.replace(/^await/, 'return await'))(tv, simulator);
  }
});

test('as C++, which is compiled', () => {
  const lines = calls.map((call) => callAs(call, 'http://127.0.0.1:8480').cpp);
  const program = `#include "clients/cpp/Client.h"\nvoid run(Ostrel::Client::Client& client) {\n${lines.join('\n')}\n}\n`;
  const { status, stderr } = spawnSync('c++', ['-std=c++20', '-fsyntax-only', '-Wall', '-Werror', `-I${root}`, `-I${dirname(tool)}/../cpp/made`, '-xc++', '-'],
    { input: program, encoding: 'utf8' });
  expect({ status, stderr }).toEqual({ status: 0, stderr: '' });
  calls.forEach(({ payload }, place) => {
    const raw = /R"(\w*)\((.*)\)\1"\);$/s.exec(lines[place]!);
    expect(raw && JSON.parse(raw[2]!)).toEqual(payload ?? null);
  });
});

test('with a token, which is not in the text', async () => {
  const folder = mkdtempSync(`${tmpdir()}/ostrel-`);
  onTestFinished(() => rmSync(folder, { recursive: true }));
  const token = 'callAs-callAs-callAs-callAs-callAs-callAs';
  writeFileSync(`${folder}/token`, `${token}\n`, { mode: 0o600 });
  const host: Host = await startHost('--token-file', `${folder}/token`);
  const { curl } = callAs({ method: 'ITVService::utcTimeGet', payload: {} }, `http://${host.address}`, true);
  expect(curl).not.toContain(token);
  expect(run(`OSTREL_TOKEN=${token}\n${curl}`)).toMatchObject({ result: noon });
});

beforeAll(() => expect(spawnSync('jq', ['--version']).status, 'jq is missing; ./dev test installs it').toBe(0));
