import { readFileSync } from 'node:fs';
import type { ServiceInfo } from '@ostrel/tv';
import { describe, expect, test } from 'vitest';
import { callOf, isOutdated, moved, type Operation, type Outcome, tell } from '../../src/views/channels/cursor';
import { flagsOf } from '../../src/views/channels/flags';
import { surprises } from '../../src/views/channels/surprises';

const service = (place: number) => ({ channelNumber: place + 1, uri: `dvb://1..${place}`, name: `S${place}` }) as ServiceInfo;
const list = Array.from({ length: 10 }, (_, place) => service(place));

const set: Operation = { name: 'serviceListSet', payload: { base: 'all' } };
const seek = (offset: number, whence: number): Operation => ({ name: 'serviceListSeek', payload: { offset, whence } });
const byNumber = (channelNumber: number): Operation => ({ name: 'serviceListSeekByChannelNumber', payload: { channelNumber } });
const byUri = (uri: string): Operation => ({ name: 'serviceListSeekByUri', payload: { uri } });
const get = (limit: number): Operation => ({ name: 'serviceListGet', payload: { limit } });
const read = (limit: number): Operation => ({ name: 'serviceListRead', payload: { limit } });
const remove: Operation = { name: 'serviceListDelete', payload: undefined };

const outcome = (operation: Operation, before: number, result: unknown): Outcome =>
  result instanceof Error
    ? { number: 1, operation, base: 'all', before, after: before, error: result }
    : { number: 1, operation, base: 'all', before, after: moved(before, operation, result), result };

// prettier-ignore
test.each([
  ['selecting a list',       set,                     7, true,             0, 'selected; the cursor is at its start'],
  ['seeking',                seek(-2, 1),             5, 3,                3, 'the cursor comes from 5'],
  ['seeking to the end',     seek(0, 2),              0, 10,              10, 'the cursor comes from 0'],
  ['seeking to where it is', seek(0, 1),              5, 5,                5, 'the cursor was there'],
  ['seeking outside',        seek(1, 2),              5, new Error(),      5, 'refused; the cursor stays at 5'],
  ['finding a number',       byNumber(4),             9, 3,                3, 'the cursor comes from 9'],
  ['finding a URI',          byUri('dvb://1..0'),     9, 0,                0, 'the cursor comes from 9'],
  ['getting',                get(3),                  5, list.slice(5, 8), 5, '3 services; the cursor stays at 5'],
  ['reading',                read(3),                 5, list.slice(5, 8), 8, '3 services; the cursor goes from 5 to 8'],
  ['reading one',            read(1),                 5, list.slice(5, 6), 6, '1 service; the cursor goes from 5 to 6'],
  ['reading at the end',     read(3),                10, [],              10, 'nothing; the cursor is at the end'],
  ['reading nothing',        read(0),                 5, [],               5, 'nothing was asked for'],
  ['a limit that wraps',     get(4294967295),         5, [],               5, 'nothing; the limit has wrapped'],
  ['deleting',               remove,                  5, true,             5, 'deleted; the cursor stays at 5, where the next one is now'],
] as const)('%s', (_, operation, before, result, after, words) => {
  const came = outcome(operation, before, result);
  expect(came.after).toBe(after);
  expect(tell(came)).toBe(words);
});

// prettier-ignore
test.each([
  ['services as in the list',          get(2),      4, list.slice(4, 6),       false],
  ['other services',                   read(2),     4, list.slice(5, 7),       true],
  ['more than the list had',           read(2),     9, [list[9], service(10)], true],
  ['fewer than the list had',          read(2),     4, [list[4]],              true],
  ['nothing where one was',            get(2),      9, [],                     true],
  ['nothing at the end',               get(2),     10, [],                     false],
  ['nothing for a limit that wraps',   get(4294967295), 4, [],                 false],
  ['the end where it was',             seek(0, 2),  4, 10,                     false],
  ['before the end',                   seek(-3, 2), 4, 7,                      false],
  ['the end elsewhere',                seek(0, 2),  4, 9,                      true],
  ['a place by offset',                seek(1, 1),  4, 5,                      false],
  ['a number where it was',            byNumber(4), 4, 3,                      false],
  ['a number elsewhere',               byNumber(4), 4, 2,                      true],
  ['a URI where it was',               byUri('dvb://1..3'), 4, 3,              false],
  ['a URI elsewhere',                  byUri('dvb://1..3'), 4, 2,              true],
  ['a service deleted',                remove,      4, true,                   true],
  ['a refusal',                        seek(0, 3),  4, new Error(),            true],
  ['a list selected',                  set,         4, true,                   false],
] as const)('%s: whether the table is of before', (_, operation, before, result, wanted) => {
  expect(isOutdated(list, outcome(operation, before, result))).toBe(wanted);
});

test('an operation is a call', () => {
  expect(callOf(seek(-2, 1))).toEqual({ method: 'ITVService::serviceListSeek', payload: { offset: -2, whence: 1 } });
  expect(callOf(remove)).toEqual({ method: 'ITVService::serviceListDelete' });
});

describe('flags are words', () => {
  // prettier-ignore
  test.each([
    [{},                                          []],
    [{ highDefinition: true },                    ['HD']],
    [{ scrambled: true, highDefinition: true },   ['HD', 'scrambled']],
    [{ visible: false },                          ['hidden']],
    [{ selectable: false },                       ['not selectable']],
  ])('%j', (flags, words) => {
    const service = { highDefinition: false, scrambled: false, visible: true, selectable: true, ...flags } as ServiceInfo;
    expect(flagsOf(service).map(([, word]) => word)).toEqual(words);
  });
});

test('what is meant so stands in the docs under the title that is told', () => {
  const docs = readFileSync(new URL('../../../docs/oddities.md', import.meta.url), 'utf8');
  for (const { title } of Object.values(surprises)) expect(docs).toContain(`\n## ${title}\n`);
});
