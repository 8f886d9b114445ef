// Whatever a server sends, calls end with what the description promises or with a TvError, and nothing is thrown
// elsewhere: Vitest takes an error that nobody handles for a failure.

import { DecodeError, ServiceError, Tv, TvError } from '@ostrel/tv';
import fc from 'fast-check';
import { readFileSync } from 'node:fs';
import { afterEach, beforeEach, describe, expect, test, vi } from 'vitest';

const openrpc = JSON.parse(readFileSync(new URL('../../../TV/interfaces/openrpc.json', import.meta.url), 'utf8'));
const methods: { name: string; result: { schema: any } }[] = openrpc.methods.filter(({ result }: any) => result);
const schemaOf = (reference: string) => openrpc.components.schemas[reference.split('/').at(-1)!];

/** What a schema of the description allows. */
function valueOf(schema: any): fc.Arbitrary<any> {
  if (schema.$ref !== undefined) return valueOf(schemaOf(schema.$ref));
  if (schema.const !== undefined) return fc.constant(schema.const);
  if (schema.oneOf !== undefined) return fc.oneof(...schema.oneOf.map(valueOf));
  if (Array.isArray(schema.type)) return fc.oneof(...schema.type.map((type: string) => valueOf({ ...schema, type })));
  switch (schema.type) {
    case 'integer':
      return fc.integer({ min: schema.minimum, max: schema.maximum });
    case 'array':
      return fc.array(valueOf(schema.items), { maxLength: Math.min(schema.maxItems ?? 3, 3) });
    case 'object':
      return fc.record(Object.fromEntries(Object.entries(schema.properties).map(([name, member]) => [name, valueOf(member)])));
    case 'string':
      return fc.string({ unit: 'grapheme' });
    case 'boolean':
      return fc.boolean();
    case 'null':
      return fc.constant(null);
    default:
      throw new Error(`no values of ${JSON.stringify(schema)}`);
  }
}

/** Replaces one value somewhere inside by one of another kind, and returns the path to it. */
function spoil(value: any, seed: number): { spoilt: any; path: string } {
  const keys = typeof value === 'object' && value !== null ? Object.keys(value) : [];
  if (keys.length === 0 || seed % 7 === 0) return { spoilt: typeof value === 'number' ? 'no number' : 0.5, path: '' };
  const key = keys[seed % keys.length]!;
  const inner = spoil(value[key], Math.floor(seed / keys.length));
  const copy = Array.isArray(value) ? [...value] : { ...value };
  copy[key] = inner.spoilt;
  return { spoilt: copy, path: `${Array.isArray(value) ? `[${key}]` : `.${key}`}${inner.path}` };
}

/** A connection whose other end is this test. */
class Socket {
  static latest: Socket;
  readonly requests: { id: number; method: string }[] = [];
  isReady = false; // once the library has its context and the time
  onopen = () => {};
  onmessage: ((event: { data: unknown }) => void) | null = null;
  onclose: ((event: { code: number; reason: string }) => void) | null = null;

  constructor(readonly url: string) {
    if (!url.endsWith('/TV')) throw new Error('there is no simulator');
    Socket.latest = this;
  }
  send(text: string): void {
    const { id, method } = JSON.parse(text);
    this.requests.push({ id, method });
    if (this.isReady) return;
    this.isReady = method === 'ITVService::utcTimeGet';
    void Promise.resolve().then(() => this.tell(reply(id, { result: 1 })));
  }
  close(): void {}
  tell(data: unknown): void {
    this.onmessage?.({ data });
  }
}

let tv: Tv;
const context = 1;

beforeEach(async () => {
  vi.stubGlobal('WebSocket', Socket);
  tv = new Tv('ws://127.0.0.1');
  await open();
});
afterEach(() => {
  tv.close();
  vi.unstubAllGlobals();
});

/** Lets happen all that waits for nothing. */
const turns = () => new Promise(setImmediate);

/** Opens the connection, and another where what was told has ended it. */
async function open(): Promise<void> {
  if (tv.state === 'open') return;
  if (tv.state === 'waiting') {
    tv.close();
    tv = new Tv('ws://127.0.0.1');
  }
  await turns(); // by then there is a socket
  Socket.latest.onopen();
  await turns();
  expect(Socket.latest.isReady).toBe(true);
}

/** Makes a call and returns how it ends when this is told; where that answers nothing, the end of the connection does. */
async function outcome(make: () => Promise<unknown>, told: (id: number) => unknown[]): Promise<PromiseSettledResult<unknown>> {
  await open();
  const socket = Socket.latest;
  const settled = Promise.allSettled([make()]);
  const { id } = socket.requests.at(-1)!;
  for (const data of told(id)) socket.tell(data);
  let isSettled = false;
  void settled.then(() => (isSettled = true));
  await turns();
  if (!isSettled) socket.onclose?.({ code: 1006, reason: '' });
  return (await settled)[0]!;
}

const reply = (id: unknown, more: object) => JSON.stringify({ jsonrpc: '2.0', id, ...more });
const text = fc.oneof(fc.string({ unit: 'binary' }), fc.json(), fc.constantFrom('', 'null', '[]', '[null]', '[[]]', '{}', '1', '"', '{"id":1}'));
const anyReply = fc.record(
  { jsonrpc: fc.anything(), id: fc.anything(), method: fc.anything(), params: fc.anything(), result: fc.anything(), error: fc.anything() },
  { requiredKeys: [] },
);

describe('replies', () => {
  for (const { name, result } of methods) {
    test(`${name} gives what was sent, and nothing that is spoilt`, async () => {
      await fc.assert(
        fc.asyncProperty(valueOf(result.schema), fc.nat(), async (value, seed) => {
          const call = () => tv.call(name, {}, { context });
          expect(await outcome(call, (id) => [reply(id, { result: value })])).toEqual({ status: 'fulfilled', value });
          const { spoilt, path } = spoil(value, seed);
          const refused = await outcome(call, (id) => [reply(id, { result: spoilt })]);
          expect(refused).toMatchObject({ status: 'rejected', reason: { member: `result${path}` } });
          expect((refused as PromiseRejectedResult).reason).toBeInstanceOf(DecodeError);
        }),
      );
    });
  }

  test('documents are programmes or refused', async () => {
    const programme = fc.record({ progSchedule: valueOf(schemaOf('Programme')) });
    await fc.assert(
      fc.asyncProperty(fc.array(programme, { minLength: 1, maxLength: 3 }), fc.nat(), text, async (programmes, seed, junk) => {
        const ask = () => tv.guide.query('', { context });
        const documents = programmes.map((programme) => JSON.stringify(programme));
        expect(await outcome(ask, (id) => [reply(id, { result: documents })])).toEqual({
          status: 'fulfilled',
          value: programmes.map(({ progSchedule }) => progSchedule),
        });
        const place = seed % documents.length;
        for (const wrong of [junk, JSON.stringify(spoil(programmes[place], seed).spoilt)]) {
          const refused = await outcome(ask, (id) => [reply(id, { result: Object.assign([...documents], { [place]: wrong }) })]);
          expect((refused as PromiseRejectedResult).reason).toBeInstanceOf(DecodeError);
        }
      }),
    );
  });

  test('errors of every kind are typed', async () => {
    const data = fc.record({ name: fc.anything(), returnCode: fc.anything(), member: fc.anything() }, { requiredKeys: [] });
    const code = fc.oneof(fc.constantFrom(-32000, -32601, -32602, -32603), fc.anything());
    const error = fc.oneof(fc.record({ code, message: fc.oneof(fc.string(), fc.anything()), data: fc.oneof(data, fc.anything()) }), fc.anything());
    await fc.assert(
      fc.asyncProperty(error, async (error) => {
        const sent = JSON.stringify({ error: error ?? 0 });
        const refused = await outcome(() => tv.call('ITVService::utcTimeGet', {}, { context }), (id) => [`{"id":${id},${sent.slice(1)}`]);
        const { reason } = refused as PromiseRejectedResult;
        expect(reason).toBeInstanceOf(TvError);
        expect(['string', 'undefined']).toContain(typeof reason.member);
        if (reason instanceof ServiceError) {
          expect([typeof reason.name, typeof reason.code, typeof reason.message]).toEqual(['string', 'number', 'string']);
          expect(['number', 'undefined']).toContain(typeof reason.returnCode);
        }
      }),
    );
  });
});

describe('anything else', () => {
  test('ends a call in a TvError, or with what it was to give', async () => {
    const messages = fc.array(fc.oneof(text, anyReply.map((message) => JSON.stringify(message))), { maxLength: 5 });
    await fc.assert(
      fc.asyncProperty(messages, async (told) => {
        const ended = await outcome(() => tv.call('ITVService::utcTimeGet', {}, { context }), () => told);
        if (ended.status === 'rejected') expect(ended.reason).toBeInstanceOf(TvError);
        else expect(ended.value).toSatisfy(Number.isInteger);
      }),
      { numRuns: 1000 },
    );
  });

  test('is told to nobody: neither unknown notifications nor those that are not as described', async () => {
    const heard: unknown[] = [];
    const params = fc.oneof(fc.record({ sourceId: fc.nat(), percent: fc.nat(100) }), fc.anything());
    const method = fc.oneof(fc.constantFrom('ITVConfig::onScanProgress', 'ITVConfig::onState', 'onResync', 'toString', '__proto__'), fc.string());
    await fc.assert(
      fc.asyncProperty(method, params, async (method, params) => {
        await open();
        heard.length = 0;
        const stop = tv.on('scanProgress', (params) => heard.push(params));
        const others = ['state', 'resync', 'clock', 'scanStart'] as const;
        const stops = others.map((name) => tv.on(name, () => heard.push(name)));
        const sent = JSON.stringify({ method, params });
        Socket.latest.tell(sent);
        const { sourceId, percent } = Object(JSON.parse(sent).params);
        const isGood = method === 'ITVConfig::onScanProgress' && Number.isInteger(sourceId) && Number.isInteger(percent);
        expect(heard).toEqual(isGood ? [JSON.parse(sent).params] : []);
        for (const each of [stop, ...stops]) each();
      }),
    );
  });
});
