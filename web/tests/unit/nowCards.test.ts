import type { EventInfo, ServiceInfo } from '@ostrel/tv';
import { expect, test } from 'vitest';
import { cardsOf, columnsIn, countGenres, isWanted, minutesLeft, pace, partOver, readWanted } from '../../src/views/now/cards';

const service = (id: number, channelNumber: number, type: 1 | 2 | 3 = 1) => ({ id, channelNumber, type, name: `S${id}` }) as ServiceInfo;
const event = (serviceId: number, genre: number, startTime = 0, endTime = 3600) => ({ serviceId, genres: [genre], startTime, endTime }) as EventInfo;

const services = [service(10, 7), service(11, 3), service(12, 700, 2), service(13, 5)];
const on = new Map([event(10, 0x10), event(11, 0x25), event(12, 0x21), event(99, 0x10)].map((each) => [each.serviceId, each]));

test('services that are on the air have a card, by their number', () => {
  expect(cardsOf(services, on).map(({ service }) => service.channelNumber)).toEqual([3, 7, 700]);
});

// prettier-ignore
test.each([
  ['',           '',       [3, 7, 700]], ['television', '',      [3, 7]], ['radio', '',       [700]],
  ['',           'news',   [3, 700]],    ['radio',      'news',  [700]],  ['radio', 'movie',  []],
  ['television', 'movie',  [7]],         ['smoke',      'Other', [3, 7, 700]],
])('the address asks for kind %j and genre %j', (kind, genre, numbers) => {
  const cards = cardsOf(services, on).filter((card) => isWanted(card, readWanted(kind, genre)));
  expect(cards.map(({ service }) => service.channelNumber)).toEqual(numbers);
});

test('cards are counted by genre', () => {
  expect([...countGenres(cardsOf(services, on))]).toEqual([[2, 2], [1, 1]]);
});

// prettier-ignore
test.each([[0, 0, 60], [900, 0.25, 45], [3540, 3540 / 3600, 1], [3541, 3541 / 3600, 1], [3599, 3599 / 3600, 1], [3600, 1, 0], [9999, 1, 0], [-60, 0, 61]])(
  'of an hour at second %d', (now, part, minutes) => {
    expect(partOver(event(1, 0), now)).toBe(part);
    expect(minutesLeft(event(1, 0), now)).toBe(minutes);
  });

test('an event without a length is over', () => {
  expect(partOver(event(1, 0, 5, 5), 5)).toBe(0);
  expect(partOver(event(1, 0, 5, 5), 6)).toBe(1);
});

// prettier-ignore
test.each([[30, 1], [300, 1], [400, 2], [900, 2], [1800, 5], [3600, 15], [7200, 30], [12_000, 60], [90_000, 60]])(
  'the bar of an event of %d s moves every %d s', (length, seconds) => {
    expect(pace(event(1, 0, 0, length))).toBe(seconds);
    expect(60 % seconds).toBe(0);
  });

// prettier-ignore
test.each([[0, 1], [263, 1], [264, 1], [539, 1], [540, 2], [1161, 4], [1817, 6]])('%d pixels hold %d columns', (width, columns) => {
  expect(columnsIn(width, 264, 12)).toBe(columns);
});
