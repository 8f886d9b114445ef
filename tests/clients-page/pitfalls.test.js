// What docs/clients.md says of each client's ways with this wire, where its programs do not show it.

import assert from 'node:assert/strict';
import { once } from 'node:events';
import { createServer as createHttpServer } from 'node:http';
import { createConnection, createServer } from 'node:net';
import test from 'node:test';
import jayson from 'jayson/promise/index.js';
import { JSONRPCClient, JSONRPCErrorException } from 'json-rpc-2.0';
import { Client } from 'rpc-websockets';
import WebSocket from 'ws';
import { startHost } from '../support/host.js';
import { run } from './page.js';

const endpoint = (address, scheme) => `${scheme}://${address}/rpc/TV`;
const tooMany = Array.from({ length: 101 }, (_, id) => ({ jsonrpc: '2.0', id, method: 'ITVService::createContext' }));
const refusedParams = {
  code: -32602,
  message: 'params is not a JSON object',
  data: { name: 'DecodeError', member: 'params' },
};

/** A call that has been made and not been settled by the time that `event` has come. */
async function isPending(call, event) {
  const settled = call.then(() => 'settled', () => 'settled');
  await event;
  await new Promise(setImmediate); // what settles it by the event is done by now
  return (await Promise.race([settled, Promise.resolve('pending')])) === 'pending';
}

/** Passes connections on to the host, and cuts them. */
async function startCable(test, host) {
  const [name, port] = host.split(':');
  const ends = new Set();
  const server = createServer((near) => {
    const far = createConnection(port, name);
    ends.add(near).add(far);
    near.pipe(far).pipe(near);
    for (const end of [near, far]) end.on('error', () => {});
  });
  await once(server.listen(0, '127.0.0.1'), 'listening');
  const cut = () => ends.forEach((end) => end.destroy());
  const { port: nearPort } = server.address();
  test.after(() => (cut(), server.close()));
  return { address: `127.0.0.1:${nearPort}`, cut };
}

async function connectRpcWebsockets(test, address) {
  const client = new Client(endpoint(address, 'ws'), { reconnect: false });
  test.after(() => client.close());
  await new Promise((resolve) => client.once('open', resolve));
  return client;
}

test('curl says by -d that it sends a form', async (t) => {
  const host = await startHost(t);
  const sent = `'{"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"}' ${endpoint(host, 'http')}`;
  assert.equal(await run('sh', `curl -sS -o /dev/null -w '%{http_code}' -d ${sent}`), '415');
});

test('curl --fail does not notice an error of JSON-RPC', async (t) => {
  const host = await startHost(t);
  const sent = `'{"jsonrpc":"2.0","id":1,"method":"nothing"}' ${endpoint(host, 'http')}`;
  assert.equal(await run('sh', `curl -sS --fail --json ${sent} | jq .error.code`), '-32601\n');
});

test('jsonrpclib-pelix joins names with a dot, drops data and takes 204 amiss', async (t) => {
  const host = await startHost(t);
  const program = `
from jsonrpclib import ServerProxy
tv = ServerProxy('${endpoint(host, 'http')}')
context = getattr(tv, 'ITVService::createContext')()
for attempt in (
    lambda: tv.ITVService.createContext(),
    lambda: tv._request('ITVService::serviceListSet', {'context': context, 'payload': {'base': 'none'}}),
    lambda: tv._request('ITVService::serviceListSet', [context, {'base': 'all'}]),
    lambda: getattr(tv._notify, 'ITVService::createContext')(),
):
    try:
        attempt()
    except Exception as error:
        print(type(error).__name__, error.args[0][0] if type(error.args[0]) is tuple else error.args[1])
`;
  assert.equal(
    await run('python', program),
    'ProtocolError -32601\nProtocolError -32000\nProtocolError -32602\nTransportError 204\n',
  );
});

test('websockets hangs up on an answer of more than 1 MiB', async (t) => {
  const host = await startHost(t);
  const program = `
import asyncio, json, websockets
async def main():
    async with websockets.connect('${endpoint(host, 'ws')}', close_timeout=0) as tv:
        await tv.send('{"jsonrpc":"2.0","id":0,"method":"ITVService::createContext"}')
        context = json.loads(await tv.recv())['result']
        whole = {'expression': 'ServiceId > 0', 'expressionFormat': 'quoril', 'outputFormat': 'quoriljson'}
        params = {'context': context, 'payload': whole}
        await tv.send(json.dumps({'jsonrpc': '2.0', 'id': 1, 'method': 'ITVGuide::query', 'params': params}))
        try:
            await tv.recv()
        except websockets.ConnectionClosedError as error:
            print(error.sent.code)
asyncio.run(main())
`;
  assert.equal(await run('python', program), '1009\n');
});

test('rpc-websockets sends an array as it is and rejects with the error of the reply', async (t) => {
  const host = await startHost(t);
  const client = await connectRpcWebsockets(t, host);
  const rejected = (call) => call.then(assert.fail, (reason) => reason);
  assert.deepEqual(await rejected(client.call('ITVService::serviceListSet', [1, { base: 'all' }])), refusedParams);
  assert.deepEqual(await rejected(client.subscribe('ITVConfig::onScanStart')), refusedParams);
  assert(Number.isInteger(await client.call('ITVService::createContext', [])));
});

test('rpc-websockets rejects before it is open', async (t) => {
  const client = new Client('ws://127.0.0.1:9/rpc/TV', { autoconnect: false });
  await assert.rejects(client.call('ITVService::createContext'), /socket not ready/);
});

test('rpc-websockets leaves calls alone when the connection breaks', async (t) => {
  const host = await startHost(t);
  const cable = await startCable(t, host);
  const client = await connectRpcWebsockets(t, cable.address);
  const closed = new Promise((resolve) => client.once('close', resolve));
  const call = client.call('ITVService::createContext');
  cable.cut();
  assert(await isPending(call, closed));
});

test('rpc-websockets gives up when connecting has failed five times', async (t) => {
  const nobody = createServer();
  await once(nobody.listen(0, '127.0.0.1'), 'listening');
  const address = `127.0.0.1:${nobody.address().port}`;
  await once(nobody.close(), 'close');
  const client = new Client(endpoint(address, 'ws'), { reconnect_interval: 1 });
  let failures = 0;
  client.on('error', () => ++failures);
  await new Promise((resolve) => client.on('max_reconnects_reached', resolve));
  assert.equal(failures, 5);
});

test('json-rpc-2.0 finds nobody who waits for the refusal of a batch, and rejects with code and data', async (t) => {
  const host = await startHost(t);
  const socket = new WebSocket(endpoint(host, 'ws'), 'jsonrpc');
  t.after(() => socket.close());
  await once(socket, 'open');
  const client = new JSONRPCClient((message) => socket.send(JSON.stringify(message)));
  socket.on('message', (text) => client.receive(JSON.parse(text)));
  assert(await isPending(client.requestAdvanced(tooMany), once(socket, 'message')));
  const reason = await client.request('ITVService::serviceListSet', [1]).then(assert.fail, (error) => error);
  assert(reason instanceof JSONRPCErrorException);
  assert.equal(reason.code, refusedParams.code);
  assert.deepEqual(reason.data, refusedParams.data);
});

test('json-rpc-2.0 rejects what is under way by the line with close', async (t) => {
  const host = await startHost(t);
  const cable = await startCable(t, host);
  for (const isLineThere of [true, false]) {
    const socket = new WebSocket(endpoint(cable.address, 'ws'), 'jsonrpc').on('error', () => {});
    await once(socket, 'open');
    const client = new JSONRPCClient((message) => socket.send(JSON.stringify(message)));
    if (isLineThere) socket.on('close', (code) => client.rejectAllPendingRequests(`closed with ${code}`));
    const call = client.request('ITVService::createContext');
    cable.cut();
    assert.equal(await isPending(call, once(socket, 'close')), !isLineThere);
  }
});

test('jayson resolves to the whole reply, and its refused batch waits', async (t) => {
  const host = await startHost(t);
  const client = jayson.Client.websocket({ url: endpoint(host, 'ws') });
  t.after(() => client.ws.close());
  await once(client.ws, 'open');
  assert.deepEqual((await client.request('ITVService::serviceListSet', [1])).error, refusedParams);
  assert.equal(await client.request('ITVService::createContext', {}, null), undefined);
  await client.request('ITVService::createContext', {});
  assert(await isPending(client.request(tooMany), once(client.ws, 'message')));
});

test('jayson by POST needs the path', async (t) => {
  const host = await startHost(t);
  const client = jayson.Client.http(endpoint(host, 'http'));
  assert(Number.isInteger((await client.request('ITVService::createContext', {})).result));
  const pathless = jayson.Client.http(`http://${host}`);
  await assert.rejects(pathless.request('ITVService::createContext', {}), { code: 405 });
});

test('jayson leaves calls alone when the connection breaks', async (t) => {
  const host = await startHost(t);
  const cable = await startCable(t, host);
  const client = jayson.Client.websocket({ url: endpoint(cable.address, 'ws') });
  await once(client.ws, 'open');
  const call = client.request('ITVService::createContext', {});
  cable.cut();
  assert(await isPending(call, once(client.ws, 'close')));
});

test('each sends the token as the page tells', async (t) => {
  let hear;
  const server = createHttpServer(({ headers }, response) => {
    hear(headers.authorization);
    response.writeHead(401).end();
  });
  server.on('upgrade', ({ headers }, socket) => {
    hear(headers.authorization);
    socket.destroy();
  });
  await once(server.listen(0, '127.0.0.1'), 'listening');
  t.after(() => server.close());
  const address = `127.0.0.1:${server.address().port}`;
  const http = `http://${address}/rpc/TV`;
  const ws = `ws://${address}/rpc/TV`;
  const header = "{'Authorization': 'Bearer ' + 'secret'}";
  const headers = { Authorization: 'Bearer secret' };
  const openWithHeader = () => new WebSocket(ws, 'jsonrpc', { headers }).on('error', () => {});
  const clients = {
    curl: () => run('sh', `curl -sS --oauth2-bearer secret --json '{}' ${http}`),
    'jsonrpclib-pelix': () =>
      run('python', `from jsonrpclib import ServerProxy\nServerProxy('${http}', headers=${header})._request('any', {})`),
    websockets: () =>
      run('python', `import asyncio, websockets
async def main(): await websockets.connect('${ws}', extra_headers=${header})
asyncio.run(main())`),
    'rpc-websockets': () => new Client(ws, { headers, reconnect: false }),
    'json-rpc-2.0': openWithHeader,
    jayson: () => jayson.Client.websocket({ ws: openWithHeader() }),
  };
  for (const [name, connect] of Object.entries(clients)) {
    const sent = new Promise((resolve) => (hear = resolve));
    await connect();
    assert.equal(await sent, 'Bearer secret', name);
  }
});
