// The runner finds nothing wrong with the host, and names each fault of a double.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';
import { WebSocketServer } from 'ws';
import { startHost } from '../../support/host.js';
import { startDouble } from './double.js';

const program = fileURLToPath(new URL('../../../clients/conform/ostrel-conform.js', import.meta.url));

const described = new URL('../../../TV/interfaces/openrpc.json', import.meta.url);

/** Runs the program and returns its exit status and what it wrote. */
async function conform(...options) {
  const child = spawn(process.execPath, [program, ...options], { stdio: ['ignore', 'pipe', 'pipe'] });
  const written = { stdout: '', stderr: '' };
  for (const name of ['stdout', 'stderr']) child[name].on('data', (text) => (written[name] += text));
  const [status] = await once(child, 'close');
  return { status, ...written };
}

/** Runs the program against a host that was started afresh, and returns its status and findings. */
async function examine(address, ...options) {
  const { status, stdout, stderr } = await conform(
    '--simulator', '--json', '--calls', '30', '--timeout', '60', ...options, `ws://${address}`,
  );
  assert.notEqual(stdout, '', stderr);
  return { status, ...JSON.parse(stdout) };
}

const cellsOf = (faults) => [...new Set(faults.map(({ method, check }) => `${method} ${check}`))];

/** Returns a folder that goes at the end of a test. */
function makeFolder(t) {
  const folder = mkdtempSync(join(tmpdir(), 'ostrel-conform-'));
  t.after(() => rmSync(folder, { recursive: true }));
  return folder;
}

for (const server of ['TV', 'Simulator'])
  test(`the host conforms, in all that it describes of ${server}`, async (t) => {
    const found = await examine(`${await startHost(t)}/rpc/${server}`, '--calls', '200');
    const { status, conforms, methods, faults, description } = found;
    assert.deepEqual({ status, conforms, faults }, { status: 0, conforms: true, faults: [] });
    assert.equal(description.from, 'the server');
    // Something was looked at wherever there is something. Nobody calls TV while the simulator is asked.
    const unseen = methods
      .filter(({ name }) => name !== 'Simulator::onTraffic')
      .flatMap(({ name, ...checks }) =>
        Object.entries(checks).filter(([, state]) => state !== 'ok').map(([check]) => `${name} ${check}`),
      );
    assert(!unseen.some((cell) => / answers$/.test(cell) && !/::on/.test(cell)), `${unseen}`);
    assert(!unseen.some((cell) => /::(on|scan(Blind)?Start|scanStop).* notifications$/.test(cell)), `${unseen}`);
    assert(!unseen.some((cell) => /(query|Get|Set|Seek|Add|Stop) (schema|errors)$/.test(cell)), `${unseen}`);
  });

test('the same seed says the same, of any server: nothing of the guide is asked for', async (t) => {
  const address = await startDouble(t, await startHost(t), {
    // Another box has other channels.
    reply: (method, reply) =>
      method === 'ITVService::serviceListGet' && reply.result
        ? { ...reply, result: reply.result.map((service) => ({ ...service, name: 'Canal 9' })) }
        : reply,
  });
  const { status, stdout } = await conform('--yes', '--json', '--calls', '30', `ws://${address}`);
  assert.deepEqual([status, JSON.parse(stdout).faults], [0, []]);
});

test('a double without a fault conforms', async (t) => {
  const { status, faults } = await examine(await startDouble(t, await startHost(t), {}));
  assert.deepEqual([status, faults], [0, []]);
});

/** Spoils the replies to one method in which there is a result, or an error. */
const results = (name, spoil) => (method, reply) =>
  method === name && 'result' in reply ? { ...reply, result: spoil(reply.result) } : reply;
const errors = (name, spoil) => (method, reply) =>
  method === name && 'error' in reply ? { ...reply, error: spoil(reply.error) } : reply;

// What is wrong, where it is found, and what the first finding says was expected.
const faults = [
  {
    name: 'a member has another name',
    spoiler: {
      reply: results('ITVService::serviceListGet', (services) =>
        services.map(({ uri, ...others }) => ({ ...others, url: uri })),
      ),
    },
    cells: ['ITVService::serviceListGet schema'],
    expected: /^result\/0 must have required property 'uri'$/,
  },
  {
    name: 'a number is a text',
    spoiler: {
      reply: results('ITVService::signalStatusGet', (status) => ({ ...status, strength: `${status.strength}` })),
    },
    cells: ['ITVService::signalStatusGet schema'],
    expected: /^result\/strength must be integer$/,
  },
  {
    name: 'a member of the simulator has another name',
    server: 'Simulator',
    spoiler: { reply: results('Simulator::clockGet', ({ speed, ...others }) => ({ ...others, rate: speed })) },
    cells: ['Simulator::clockGet schema'],
    expected: /^result must have required property 'speed'$/,
  },
  {
    name: 'errors have no data',
    spoiler: { reply: errors('ITVService::serviceListSeek', ({ code, message }) => ({ code, message })) },
    cells: ['ITVService::serviceListSeek errors'],
    expected: /data must be object/,
  },
  {
    name: 'an error has another result code',
    spoiler: {
      reply: errors('ITVConfig::scanHomeStart', ({ data, ...error }) => ({
        ...error,
        data: data.returnCode === 4 ? { ...data, returnCode: 5 } : data,
      })),
    },
    cells: ['ITVConfig::scanHomeStart errors'],
    expected: /^NotSupported: data\/returnCode must be equal to constant: 4$/,
  },
  {
    name: 'an error is of another kind',
    spoiler: { reply: errors('ITVService::utcTimeGet', (error) => ({ ...error, code: -1 })) },
    cells: ['ITVService::utcTimeGet errors'],
    expected: /an error of InvalidParams \(-32602\), ContextGone \(-32000\)/,
  },
  {
    name: 'wrong parameters are taken',
    spoiler: {
      reply: (method, { id, ...outcome }) =>
        method === 'ITVConfig::transponderListAdd' && outcome.error?.code === -32602
          ? { jsonrpc: '2.0', id, result: true }
          : { id, ...outcome },
    },
    cells: ['ITVConfig::transponderListAdd errors'],
    expected: /^a refusal of what its schema does not allow$/,
  },
  {
    name: 'right parameters are refused',
    spoiler: {
      reply: (method, { id, ...outcome }) =>
        method === 'ITVGuide::queryNowNextEventInfo' && 'result' in outcome
          ? {
              jsonrpc: '2.0',
              id,
              error: { code: -32602, message: 'no', data: { name: 'DecodeError', member: 'id' } },
            }
          : { id, ...outcome },
    },
    cells: ['ITVGuide::queryNowNextEventInfo answers', 'ITVGuide::queryNowNextEventInfo errors'],
    expected: /"title":"Gate and Stile"/,
  },
  {
    name: 'an example gives another result',
    spoiler: { reply: results('ITVService::nowNextGet', () => []) },
    cells: ['ITVService::nowNextGet answers'],
    expected: /<Title>The Slow Tide<\/Title>/,
  },
  {
    name: 'replies of a batch come in another order',
    spoiler: {
      batch: (replies) => (replies.some(({ result }) => result?.quality === 0) ? replies.reverse() : replies),
    },
    cells: ['ITVService::signalStatusGet answers'],
    expected: /in their order$/,
  },
  {
    name: 'a reply has neither a result nor an error',
    spoiler: {
      reply: (method, { jsonrpc, id, ...outcome }) =>
        method === 'ITVGuide::getGenreStringMapList' ? { jsonrpc, id } : { jsonrpc, id, ...outcome },
    },
    cells: ['ITVGuide::getGenreStringMapList answers'],
    expected: /^a reply of JSON-RPC 2.0/,
  },
  {
    name: 'a method is missing',
    spoiler: {
      reply: (method, { id, ...outcome }) =>
        method === 'ITVService::signalStatusGet'
          ? { jsonrpc: '2.0', id, error: { code: -32601, message: 'what?' } }
          : { id, ...outcome },
    },
    cells: ['ITVService::signalStatusGet answers'],
    expected: /^that it knows this method$/,
  },
  {
    name: 'an unknown method is an internal error',
    spoiler: {
      reply: (method, reply) =>
        reply.error?.code === -32601 ? { ...reply, error: { ...reply.error, code: -32603 } } : reply,
    },
    cells: ['JSON-RPC 2.0 errors'],
    expected: /^MethodNotFound$/,
  },
  {
    name: 'notifications come behind the reply',
    spoiler: { isLate: true },
    cells: [
      'ITVConfig::scanBlindStart notifications',
      'ITVConfig::scanStart notifications',
      'ITVConfig::scanStop notifications',
    ],
    expected: /^before the reply ITVConfig::onScanStart, then ITVConfig::onScanProgress 0; heard was nothing$/,
  },
  {
    name: 'a notification has a text for a number',
    spoiler: {
      notification: ({ params: { percent, ...params }, ...others }) => ({
        ...others,
        params: percent === undefined ? params : { ...params, percent: `${percent}` },
      }),
    },
    cells: ['ITVConfig::onScanProgress notifications'],
    expected: /^params\/percent must be integer$/,
  },
  {
    name: 'a method is not answered',
    spoiler: { reply: (method, reply) => (method === 'ITVService::utcTimeGet' ? undefined : reply) },
    cells: ['ITVService::utcTimeGet answers'],
    expected: /^an answer$/,
    times: 1, // nobody asks for it again
  },
  {
    name: 'no context is made, without which nothing can be asked',
    spoiler: {
      reply: (method, reply) =>
        method === 'ITVService::createContext' && 'result' in reply ? undefined : reply,
    },
    cells: ['ITVService::createContext answers'],
    expected: /^an answer$/,
    times: 1,
  },
];

for (const { name, server = 'TV', spoiler, cells, expected, times } of faults) {
  test(`named: ${name}`, async (t) => {
    const found = await examine(`${await startDouble(t, await startHost(t), spoiler)}/rpc/${server}`);
    assert.deepEqual(cellsOf(found.faults).sort(), cells.sort(), JSON.stringify(found.faults));
    assert.match(found.faults[0].expected, expected);
    if (times !== undefined) assert.equal(found.faults[0].times, times);
    assert.deepEqual([found.status, found.conforms], [1, false]);
  });
}

test('nobody waits for ever', async (t) => {
  const silent = new WebSocketServer({ host: '127.0.0.1', port: 0 });
  t.after(() => silent.close());
  await once(silent, 'listening');
  const { status, stderr } = await conform('--yes', '--timeout', '5', `ws://127.0.0.1:${silent.address().port}`);
  assert.equal(status, 2);
  assert.match(stderr, /^ostrel-conform: rpc.discover is not answered: nothing within 5 s; there is no description/);
});

test('people read what was sent, what came and what was expected', async (t) => {
  const spoiler = { reply: results('ITVService::signalStatusGet', () => '\u009b31m') };
  const address = await startDouble(t, await startHost(t), spoiler);
  const { status, stdout } = await conform('--simulator', '--calls', '10', `ws://${address}`);
  assert.equal(status, 1);
  assert.match(stdout, /^ITVService::signalStatusGet +ok +fails +(ok|-) +-$/m);
  assert.match(stdout, /^ITVService::signalStatusGet, schema, \d+ times:$/m);
  assert.match(stdout, /^ {2}sent {6}\{"context":\d+,"payload":\{"sourceId":1\}\}$/m);
  assert.match(stdout, /^ {2}came {6}\{"result":"\\u009b31m"\}$/m);
  assert.match(stdout, /^ {2}expected {2}result must be object$/m);
});

test('a description of another wire is not met', async (t) => {
  const file = join(makeFolder(t), 'openrpc.json');
  writeFileSync(file, readFileSync(described, 'utf8').replaceAll('"channelNumber"', '"channel"'));
  const found = await examine(await startHost(t), '--description', file);
  assert.equal(found.status, 1);
  assert(cellsOf(found.faults).includes('ITVService::serviceListGet schema'), JSON.stringify(found.faults));
  assert.equal(found.description.from, file);
});

test('what does not describe itself is held against a description that is named', async (t) => {
  const spoiler = {
    reply: (method, { id, ...outcome }) =>
      method === 'rpc.discover'
        ? { jsonrpc: '2.0', id, error: { code: -32601, message: 'no such method' } }
        : { id, ...outcome },
  };
  const address = await startDouble(t, await startHost(t), spoiler);
  const { status, stderr } = await conform('--simulator', `ws://${address}`);
  assert.equal(status, 2);
  assert.match(stderr, /^ostrel-conform: it is no OpenRPC document; there is no description to go by, name one with/);
  assert.equal((await examine(address, '--description', fileURLToPath(described))).status, 0);
});

// What is done to the methods of a description, and what is said of that.
const unusable = [
  [({ examples, ...method }) => method, /ITVService::createContext has no example/],
  [
    ({ examples: [example], ...method }) => ({ ...method, examples: [{ ...example, 'x-after': ['nobody'] }] }),
    /the example of ITVService::createContext comes after nobody, which is no method/,
  ],
];
for (const [spoil, expected] of unusable) {
  test(`a description is none to go by: ${expected.source}`, async (t) => {
    const reply = results('rpc.discover', ({ methods, ...others }) => ({ ...others, methods: methods.map(spoil) }));
    const { status, stderr } = await conform('--simulator', `ws://${await startDouble(t, await startHost(t), { reply })}`);
    assert.equal(status, 2);
    assert.match(stderr, expected);
    assert.match(stderr, /^ostrel-conform: .*; there is no description to go by/);
  });
}

test('a token is shown', async (t) => {
  const token = 'a'.repeat(32);
  const file = join(makeFolder(t), 'token');
  writeFileSync(file, `${token}\n`);
  const address = await startDouble(t, await startHost(t), { token });
  const { status, stderr } = await conform('--simulator', '--calls', '1', `ws://${address}`);
  assert.equal(status, 2);
  assert.match(stderr, /^ostrel-conform: there is no connection to ws:.*401/);
  assert.equal((await examine(address, '--token-file', file)).status, 0);
});

// What is typed, and the line on standard error that answers it.
const refused = [
  [[], /^ostrel-conform: it will delete services .*; say --yes, or --simulator /],
  [['--yes', 'ws://127.0.0.1:1/rpc/TV'], /^ostrel-conform: there is no connection to ws:\/\/127.0.0.1:1\/rpc\/TV: /],
  [['--yes', 'box.local'], /^ostrel-conform: box.local is no URL such as ws:/],
  [['--yes', '--calls', 'many'], /^ostrel-conform: --calls takes a whole number from 1 to 100000, not many$/m],
  [['--yes', '--calls', '0'], /^ostrel-conform: --calls takes a whole number/],
  [['--no-such-option'], /^ostrel-conform: Unknown option '--no-such-option'; see ostrel-conform --help$/m],
  [['--yes', 'ws://a', 'ws://b'], /^ostrel-conform: one URL is enough/],
  [['--yes', '--description', '/nowhere/openrpc.json'], /^ostrel-conform: ENOENT: .*\/nowhere\/openrpc.json/],
  [['--yes', '--description', '/dev/null'], /^ostrel-conform: .*there is no description to go by/],
];
for (const [typed, line] of refused) {
  test(`refused: ostrel-conform ${typed.join(' ')}`, async () => {
    const { status, stdout, stderr } = await conform(...typed);
    assert.match(stderr, line);
    assert.deepEqual([status, stdout, stderr.trim().split('\n').length], [2, '', 1]);
  });
}

test('--help tells of each option and exit status', async () => {
  const { status, stdout } = await conform('--help');
  assert.equal(status, 0);
  for (const word of ['--yes', '--simulator', '--description', '--calls', '--seed', '--timeout', '--token-file', '--json', 'Exit status'])
    assert(stdout.includes(word), word);
  assert(stdout.split('\n').every((line) => line.length <= 80));
});
