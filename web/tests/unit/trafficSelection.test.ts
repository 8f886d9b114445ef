// What of the traffic is shown: filters, a list that is kept up, the last minute, and the page's own messages.

import { expect, test } from 'vitest';
import { draw, Minute, sumOf } from '../../src/views/traffic/Minute.js';
import type { Message } from '../../src/views/traffic/message.js';
import { OwnMessages } from '../../src/views/traffic/ownMessages.js';
import { type Filter, matcher, Selection } from '../../src/views/traffic/Selection.js';
import { TrafficLog } from '../../src/views/traffic/TrafficLog.js';

const everything: Filter = { text: '', method: '', client: '', errorsOnly: false };
const nameOf = ({ connection, client }: Message) => (connection === 0 ? '' : `#${connection} ${client}`);
const base: Message = { time: 1, connection: 1, client: '127.0.0.1:4711', direction: 'request', method: '', micros: 0, bytes: 1, text: '{}' };
const ask = (id: number, method: string, more: Partial<Message> = {}): Message => ({ ...base, id, method, time: id, ...more });
const answer = (id: number, method: string, error = false, more: Partial<Message> = {}): Message =>
  ({ ...ask(id, method, more), direction: 'reply', text: `{"jsonrpc":"2.0","id":${id},${error ? '"error":{"code":-32601}' : '"result":"News"'}}` });

function fill(): TrafficLog {
  const log = new TrafficLog();
  const calls: [string, boolean, Partial<Message>][] = [
    ['ITVService::serviceListGet', false, { text: '{"a":"Gate and Stile"}' }],
    ['ITVGuide::query', true, {}],
    ['ITVService::serviceListSet', false, { connection: 2, client: 'unix' }],
  ];
  calls.forEach(([method, error, more], i) => {
    log.add(ask(i, method, more));
    log.add(answer(i, method, error, { ...more, text: answer(i, method, error).text }));
  });
  log.add({ ...base, direction: 'notification', connection: 0, client: '', method: 'ITVConfig::onScanStart', time: 9 });
  return log;
}

// prettier-ignore
test.each<[string, Partial<Filter>, number[]]>([
  ['everything',                       {},                                [0, 1, 2, 3]],
  ['part of a method',                 { method: 'servicelist' },         [0, 2]],
  ['a pattern is of the whole name',   { method: '*List*' },              [0, 2]],
  ['and not of part of it',            { method: 'List*' },               []],
  ['a pattern takes nothing else as such', { method: '*.*' },             []],
  ['a client',                         { client: 'UNIX' },                [2]],
  ['a connection',                     { client: '#1 ' },                 [0, 1]],
  ['errors',                           { errorsOnly: true },              [1]],
  ['a text of a request, in any case', { text: 'gate AND' },              [0]],
  ['a text of a reply',                { text: 'news' },                  [0, 2]],
  ['a text is no pattern',             { text: '.*' },                    []],
  ['all of them together',             { method: 'list', text: 'stile' }, [0]],
])('the filter %s', (_, filter, wanted) => {
  const selection = new Selection(fill(), matcher({ ...everything, ...filter }, nameOf));
  expect(selection.entries.map(({ number }) => number)).toEqual(wanted);
});

test('a call that fails after a while comes to its place among the errors', () => {
  const log = new TrafficLog();
  for (const id of [1, 2, 3]) log.add(ask(id, 'A::b', { connection: id }));
  const errors = new Selection(log, matcher({ ...everything, errorsOnly: true }, nameOf));
  const numbers = () => (errors.update(), errors.entries.map(({ number }) => number));
  log.add(answer(3, 'A::b', true, { connection: 3 }));
  expect(numbers()).toEqual([2]);
  log.add(answer(1, 'A::b', true, { connection: 1 }));
  log.add(answer(2, 'A::b', false, { connection: 2 }));
  expect(numbers()).toEqual([0, 2]);
});

test('while nothing is taken in the list stands still, and what is new is counted', () => {
  const log = fill();
  const selection = new Selection(log, matcher({ ...everything, method: 'A::' }, nameOf));
  log.add(ask(10, 'A::b'));
  log.add(ask(11, 'B::b'));
  expect(selection.countNew()).toBe(1);
  log.add(ask(12, 'A::b'));
  expect(selection.countNew()).toBe(2);
  expect(selection.entries).toHaveLength(0);
  expect(selection.update()).toBe(true);
  expect(selection.entries).toHaveLength(2);
  expect(selection.countNew()).toBe(0);
  expect(selection.update()).toBe(false);
});

test('what the log has no more leaves the list', () => {
  const log = new TrafficLog(5000);
  const selection = new Selection(log, () => true);
  for (let id = 0; id < 1000; ++id) {
    log.add(ask(id, 'A::b'));
    if (id % 7 === 0) selection.update();
  }
  selection.update();
  expect(selection.entries[0]!.number).toBe(log.first);
  expect(selection.entries).toHaveLength(log.end - log.first);
  expect(selection.indexOf(log.end - 1)).toBe(selection.entries.length - 1);
  expect(selection.indexOf(log.first - 1)).toBe(-1);
});

test('a minute counts by half seconds, and forgets', () => {
  const minute = new Minute();
  minute.add(100, 0);
  minute.add(100.2, 1500);
  minute.add(100.6, 90, true);
  const now = minute.upTo(101);
  expect(now.slice(-3)).toEqual([
    { messages: 2, errors: 0, slowest: 1500 },
    { messages: 1, errors: 1, slowest: 90 },
    { messages: 0, errors: 0, slowest: 0 },
  ]);
  expect(sumOf(now)).toEqual({ messages: 3, errors: 1, slowest: 1500, rate: 3 });
  expect(sumOf(minute.upTo(160.4)).messages).toBe(1);
  expect(sumOf(minute.upTo(161)).messages).toBe(0);
  minute.add(5000);
  minute.add(100); // long gone
  expect(sumOf(minute.upTo(5000)).messages).toBe(1);
});

test('a minute is drawn from its oldest half second on the left', () => {
  const minute = new Minute();
  minute.add(100, 10_000, true);
  const { messages, errors, slowest } = draw(minute.upTo(100));
  expect(messages).toBe('M119 100V77.5h0.8V100z'); // one of the least height of four
  expect(errors).toBe('M119 100V77.5h0.8V100z');
  expect(slowest).toBe('M119 60.0h0.8'); // 10 ms is two fifths of the way from 0.1 ms to 10 s
});

test('what the page says itself becomes messages, batches too', () => {
  const own = new OwnMessages();
  const sent = own.read({ at: 5000, direction: 'sent', text: '[{"id":1,"method":"A::b"},{"id":2,"method":"A::ü"}]' });
  const received = own.read({ at: 5002.5, direction: 'received', text: '[{"id":1,"result":1},{"id":2,"error":{}}]' });
  const told = own.read({ at: 5003, direction: 'received', text: '{"method":"A::onB","params":{}}' });
  expect(sent.map(({ direction, method, bytes }) => [direction, method, bytes])).toEqual([['request', 'A::b', 24], ['request', 'A::ü', 25]]);
  expect(received.map(({ direction, method, micros, time }) => [direction, method, micros, time])).toEqual([
    ['reply', 'A::b', 2500, 5.0025],
    ['reply', 'A::ü', 2500, 5.0025],
  ]);
  expect(told).toMatchObject([{ direction: 'notification', connection: 0, method: 'A::onB' }]);
  own.forget();
  expect(own.read({ at: 5004, direction: 'received', text: '{"id":1,"result":1}' })).toMatchObject([{ method: '', micros: 0 }]);
  expect(own.read({ at: 5005, direction: 'received', text: 'no JSON' })).toEqual([]);
  expect(own.read({ at: 5006, direction: 'received', text: 'null' })).toEqual([]);
  expect(own.read({ at: 5007, direction: 'received', text: '[null,1]' })).toEqual([]);
});
