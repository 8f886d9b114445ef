import { describe, expect, test } from 'vitest';
import { addDays } from '../../src/parts/time';
import { dayOf, daysAround, daysIn, ticks } from '../../src/views/guide/days';

const utc = (text: string): number => Date.parse(text.length === 10 ? `${text}T00:00Z` : `${text}Z`) / 1000;
const told = (time: number): string => new Date(time * 1000).toISOString().slice(0, 16);

test.each([
  ['Europe/London', '2011-10-16T11:00', '2011-10-15T23:00', 24],
  ['Europe/London', '2011-10-30T12:00', '2011-10-29T23:00', 25],
  ['Europe/London', '2011-03-27T12:00', '2011-03-27T00:00', 23],
  ['America/New_York', '2011-10-16T03:59', '2011-10-15T04:00', 24],
  ['America/New_York', '2011-11-06T12:00', '2011-11-06T04:00', 25],
  ['Asia/Kathmandu', '2011-10-16T00:00', '2011-10-15T18:15', 24],
  ['Australia/Lord_Howe', '2011-10-02T06:00', '2011-10-01T13:30', 23.5],
  ['America/Sao_Paulo', '2011-10-16T12:00', '2011-10-16T03:00', 23], // begins at one
])('dayOf %s %s', (zone, at, from, hours) => {
  const day = dayOf(utc(at), zone);
  expect(told(day.from)).toBe(from);
  expect((day.to - day.from) / 3600).toBe(hours);
});

test.each([
  ['Europe/London', '2011-10-29T11:00', 1, '2011-10-30T12:00'],
  ['Europe/London', '2011-10-30T12:00', -1, '2011-10-29T11:00'],
  ['Europe/London', '2011-03-26T12:00', 1, '2011-03-27T11:00'],
  ['Europe/London', '2011-03-26T01:30', 1, '2011-03-27T01:30'], // half past one is not there, half past two is
  ['Europe/London', '2011-10-29T00:30', 1, '2011-10-30T00:30'], // half past one is there twice: the first
  ['Asia/Kathmandu', '2011-10-16T11:00', 1, '2011-10-17T11:00'],
])('addDays %s %s %d', (zone, from, days, to) => {
  expect(told(addDays(utc(from), zone, days))).toBe(to);
});

test.each([
  ['Europe/London', '2011-10-16T10:40', '2011-10-16T12:10', '11:00 11:30 12:00'],
  ['Asia/Kathmandu', '2011-10-16T10:40', '2011-10-16T12:10', '10:45 11:15 11:45'],
  ['Europe/London', '2011-10-30T00:00', '2011-10-30T02:00', '00:00 00:30 01:00 01:30'],
  ['Australia/Lord_Howe', '2011-10-01T15:00', '2011-10-01T16:10', '15:00 15:30 16:00'],
  ['Europe/London', '2011-10-16T10:00', '2011-10-16T10:00', ''],
])('ticks of half an hour, %s from %s', (zone, from, to, times) => {
  expect(ticks({ from: utc(from), to: utc(to) }, 1800, zone).map((at) => told(at).slice(11)).join(' ')).toBe(times);
});

test('ticks of two hours keep to the clock when that is put back', () => {
  const at = ticks({ from: utc('2011-10-29T22:30'), to: utc('2011-10-30T06:30') }, 7200, 'Europe/London');
  expect(at.map(told)).toEqual(['2011-10-29T23:00', '2011-10-30T02:00', '2011-10-30T04:00', '2011-10-30T06:00']);
});

describe('daysAround', () => {
  const now = utc('2011-10-16T11:00');

  test('a week back and two ahead, by the days of the zone', () => {
    const days = daysAround(now, now, 'Europe/London');
    expect(told(days.from)).toBe('2011-10-08T23:00');
    expect(told(days.to)).toBe('2011-10-31T00:00');
    expect(daysIn(days, 'Europe/London')).toHaveLength(22);
  });

  test('what is looked at may be anywhere', () => {
    const days = daysAround(now, utc('2020-02-29'), 'UTC');
    expect(told(days.from)).toBe('2020-02-22T00:00');
    expect(told(days.to)).toBe('2020-03-15T00:00');
  });
});
