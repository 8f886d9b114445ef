// What passes, taken in: requests find their replies, what is old goes, and what is seen again is known.

import { describe, expect, test } from 'vitest';
import { askedOf, gist, isCut, type Message, outcomeOf, wordOf } from '../../src/views/traffic/message.js';
import { forReplay, toRecord } from '../../src/views/traffic/record.js';
import { TrafficLog } from '../../src/views/traffic/TrafficLog.js';

let time = 1000;
const pass = (more: Partial<Message>): Message => {
  const text = more.text ?? '{"jsonrpc":"2.0"}';
  return { time: (time += 0.001), connection: 1, client: '127.0.0.1:5', direction: 'request', method: 'A::b', micros: 0, bytes: text.length, ...more, text };
};
const request = (id: Message['id'], more: Partial<Message> = {}) => pass({ ...(id !== undefined && { id }), ...more });
const reply = (id: number | string | null, more: Partial<Message> = {}) =>
  pass({ id, direction: 'reply', micros: 50, text: `{"jsonrpc":"2.0","id":${JSON.stringify(id)},"result":1}`, ...more });
const refusal = (id: number, name = 'InvalidState') =>
  reply(id, { text: `{"jsonrpc":"2.0","id":${id},"error":{"code":-32000,"message":"x","data":{"returnCode":2,"name":"${name}"}}}` });
const told = () => pass({ direction: 'notification', connection: 0, client: '', method: 'A::onB' });

/** Each entry in a word: what has become of it. */
const words = (log: TrafficLog) => [...log].map((entry) => (entry.kind === 'call' ? wordOf(entry.outcome) : entry.kind));
const logOf = (...messages: Message[]) => {
  const log = new TrafficLog();
  for (const message of messages) log.add(message);
  return log;
};

describe('pairing', () => {
  // prettier-ignore
  test.each<[string, Message[], string[]]>([
    ['a call',                                [request(1), reply(1)],                                   ['ok']],
    ['two that cross',                        [request(1), request(2), reply(1), reply(2)],              ['ok', 'ok']],
    ['a batch, one of which is refused',      [request(1), request(2), request(3), reply(1), refusal(2), reply(3)], ['ok', 'InvalidState', 'ok']],
    ['the same id on two connections',        [request(1), request(1, { connection: 2 }), reply(1, { connection: 2 })], ['waiting', 'ok']],
    ['the same id twice on one connection',   [request(1), request(1), reply(1)],                        ['ok', 'waiting']],
    ['1 is not "1"',                          [request(1), request('1'), reply('1')],                    ['no reply', 'ok']],
    ['a lost reply: a later one has come',    [request(1), request(2), reply(2)],                        ['no reply', 'ok']],
    ['no id wants no reply',                  [request(undefined)],                                      ['not wanted']],
    ['what is no request has id null',        [request(null, { method: '' }), reply(null, { method: '' })], ['ok']],
    ['a reply to what nobody saw',            [reply(9)],                                                ['ok']],
    ['a notification between',                [request(1), told(), reply(1)],                            ['ok', 'notification']],
    ['messages that were missed',             [request(1), reply(1), told(), { ...request(2), missed: 5 }], ['ok', 'notification', 'gap', 'waiting']],
  ])('%s', (_, messages, wanted) => {
    expect(words(logOf(...messages))).toEqual(wanted);
  });

  test('one that waits too long is given up, and taken back when its reply comes after all', () => {
    const asked = request(1);
    const log = logOf(asked);
    log.sweep(asked.time + TrafficLog.patience);
    expect(words(log)).toEqual(['waiting']);
    log.sweep(asked.time + TrafficLog.patience + 0.01);
    expect(words(log)).toEqual(['no reply']);
    log.add(reply(1));
    expect(words(log)).toEqual(['ok']);
  });
});

describe('what is kept', () => {
  test('is bounded in bytes, and the oldest goes', () => {
    const log = new TrafficLog(100_000);
    const text = 'x'.repeat(600);
    for (let id = 1; id <= 5000; ++id) log.add(request(id, { text })), log.add(reply(id));
    expect(log.cost).toBeLessThanOrEqual(100_000);
    expect(log.end - log.first).toBeGreaterThan(50);
    expect(log.end).toBe(5000);
    expect(log.at(log.first - 1)).toBeUndefined();
    expect(log.at(log.end - 1)!.request!.id).toBe(5000);
  });

  test('counts replies that come later', () => {
    const log = new TrafficLog(100_000);
    for (let id = 1; id <= 50; ++id) log.add(request(id));
    for (let id = 1; id <= 50; ++id) log.add(reply(id, { text: `{"jsonrpc":"2.0","id":${id},"result":"${'y'.repeat(5000)}"}` }));
    expect(log.cost).toBeLessThanOrEqual(100_000);
  });

  test('the newest stays, however large', () => {
    const log = new TrafficLog(1000);
    log.add(request(1, { text: 'x'.repeat(5000) }));
    expect(log.end - log.first).toBe(1);
  });

  test('those that wait and go are not waited for', () => {
    const log = new TrafficLog(3000);
    for (let id = 1; id <= 100; ++id) log.add(request(id));
    log.add(reply(1));
    expect([...log].at(-1)!.reply!.id).toBe(1); // by itself: its request has gone
  });
});

describe('catching up', () => {
  test('what is known already is left out', () => {
    const messages = [request(1), reply(1), request(2)];
    const log = logOf(...messages);
    log.catchUp([...messages, reply(2), reply(2)]);
    expect(words(log)).toEqual(['ok', 'ok', 'ok']); // the last is another reply, to nobody's request
    log.catchUp(messages);
    expect(log.end).toBe(3);
  });

  test('where nothing is known something was missed, and nobody waits on', () => {
    const log = logOf(request(1));
    log.catchUp([request(1), reply(1)]);
    expect(words(log)).toEqual(['no reply', 'gap', 'ok']);
  });

  test('an empty log has missed nothing', () => {
    const log = new TrafficLog();
    log.catchUp([request(1), reply(1)]);
    expect(words(log)).toEqual(['ok']);
  });

  test('what was cleared stays away', () => {
    const messages = [request(1), reply(1)];
    const log = logOf(...messages);
    log.clear();
    log.catchUp([...messages, told()]);
    expect(words(log)).toEqual(['notification']);
  });
});

// prettier-ignore
test.each<[string, string]>([
  ['{"jsonrpc":"2.0","id":7,"result":"an \\"error\\":"}',                                            'ok'],
  ['{"jsonrpc":"2.0","id":"a\\"b","result":[1,2,3',                                                  'ok'], // cut
  ['{"jsonrpc":"2.0","id":7,"error":{"code":-32602,"message":"m","data":{"name":"DecodeError","member":"limit"}}}', 'DecodeError'],
  ['{"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"m"}}',                              'ParseError'],
  ['{"jsonrpc":"2.0","id":7,"error":{"code":-32601,"message":"m"}}',                                 'MethodNotFound'],
  ['{"jsonrpc":"2.0","id":7,"error":{"code":-1,"message":"m"}}',                                     'Error'],
  ['{"id":7,"result":1,"jsonrpc":"2.0"}',                                                            'ok'], // another order
  ['what is this',                                                                                   'Error'],
])('the outcome of %s is %s', (text, word) => {
  expect(wordOf(outcomeOf(text))).toBe(word);
});

// prettier-ignore
test.each<[string, string]>([
  ['{"jsonrpc":"2.0","id":1,"method":"A::b","params":{"context":5,"payload":{"id":1043}}}', '{"id":1043}'],
  ['{"jsonrpc":"2.0","id":1,"method":"A::b","params":{"context":5}}',                       ''],
  ['{"jsonrpc":"2.0","method":"A::onB","params":{"percent":42}}',                           '{"percent":42}'],
  ['{"jsonrpc":"2.0","id":1,"result":[]}',                                                  '[]'],
  ['{"jsonrpc":"2.0","id":1,"method":"rpc.discover"}',                                      ''],
  [`{"jsonrpc":"2.0","id":1,"result":"${'x'.repeat(500)}"}`,                                `"${'x'.repeat(159)}…`],
])('the gist of %s', (text, wanted) => {
  expect(gist(text)).toBe(wanted);
});

// prettier-ignore
test.each<[string, unknown]>([
  ['{"method":"A::b","params":{"context":5,"payload":{"id":1}}}',        { context: 5, payload: { id: 1 } }],
  ['{"method":"A::b","params":{"context":5,"payload":"{\\"id\\":1}"}}',  { context: 5, payload: { id: 1 } }],
  ['{"method":"A::b","params":{"context":5,"payload":"{"}}',             { context: 5, payload: '{' }],
  ['{"method":"S::b","params":{"last":1}}',                              { payload: { last: 1 } }],
  ['{"method":"A::createContext"}',                                      {}],
  ['{"method":7}',                                                       undefined],
  ['{"method":"A::b","params":{"cont',                                   undefined], // cut
])('what %s asks for', (text, wanted) => {
  expect(askedOf(text)).toEqual(wanted);
});

test('a text is cut where there were more bytes, not where letters take several', () => {
  expect(isCut(pass({ text: 'é', bytes: 2 }))).toBe(false);
  expect(isCut(pass({ text: 'e', bytes: 2 }))).toBe(true);
});

test('a record has a line for each message, in the order of time, as the service writes it', () => {
  const [first, second] = [request(1), request(2, { connection: 2 })];
  const [later, earlier] = [refusal(1), reply(2, { connection: 2 })];
  const log = logOf(first, second, { ...earlier, time: later.time - 0.0005 }, later, told());
  const lines = toRecord(log).split('\n');
  expect(lines.pop()).toBe('');
  const read = lines.map((line) => JSON.parse(line) as Message);
  expect(read.map(({ direction, connection }) => `${direction} ${connection}`)).toEqual(['request 1', 'request 2', 'reply 2', 'reply 1', 'notification 0']);
  expect(read[0]).toEqual(first);
  expect(lines[0]).toMatch(/^\{"time":[\d.]+,"connection":1,"client":"127.0.0.1:5","direction":"request","method":"A::b","id":1,"micros":0,"bytes":17,"text":/);
  expect('id' in read[4]!).toBe(false);
});

test('a choice is saved with the contexts that it needs', () => {
  const log = logOf(request(1, { method: 'ITVService::createContext' }), reply(1), request(2), reply(2), request(3, { method: 'A::c' }), reply(3));
  expect([...forReplay(log, (entry) => entry.request?.method === 'A::c')].map(({ number }) => number)).toEqual([0, 2]);
});
