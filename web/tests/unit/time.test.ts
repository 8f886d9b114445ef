import fc from 'fast-check';
import { describe, expect, test } from 'vitest';
import * as time from '../../src/parts/time';

const zones = ['Europe/London', 'Asia/Kolkata', 'America/New_York', 'Australia/Lord_Howe', 'Pacific/Chatham'];
const at = (text: string) => Date.parse(text) / 1000;
const noon = at('2011-10-16T11:00:00Z');

describe('a time in words', () => {
  // prettier-ignore
  test.each([
    ['Europe/London',       '12:00', '12:00:00', 'Sun 16 Oct', 'Sunday 16 October 2011', 'BST'],
    ['Asia/Kolkata',        '16:30', '16:30:00', 'Sun 16 Oct', 'Sunday 16 October 2011', 'GMT+5:30'],
    ['America/New_York',    '07:00', '07:00:00', 'Sun 16 Oct', 'Sunday 16 October 2011', 'GMT-4'],
    ['Australia/Lord_Howe', '22:00', '22:00:00', 'Sun 16 Oct', 'Sunday 16 October 2011', 'GMT+11'],
    ['Pacific/Chatham',     '00:45', '00:45:00', 'Mon 17 Oct', 'Monday 17 October 2011', 'GMT+13:45'],
  ])('%s', (zone, short, seconds, day, date, letters) => {
    expect(time.formatTime(noon, zone)).toBe(short);
    expect(time.formatSeconds(noon, zone)).toBe(seconds);
    expect(time.formatDay(noon, zone)).toBe(day);
    expect(time.formatDate(noon, zone)).toBe(date);
    expect(time.formatZone(noon, zone)).toBe(letters);
  });

  test.each([['Europe/London', 'Europe/London'], ['Etc/Unknown', undefined], ['', undefined], [undefined, undefined]])('%s as a zone', (zone, known) =>
    expect(time.knownZone(zone)).toBe(known));

  test.each([1e13, -1e300, NaN, Infinity])('%s is no time', (none) => {
    expect(time.formatTime(none, 'Europe/London')).toBe('–');
    expect(time.formatZone(none, 'Europe/London')).toBe('–');
    expect(time.formatLocal(none, 'Europe/London')).toBe('');
  });

  test('the zone’s letters are those of the day', () => {
    expect(time.formatZone(at('2011-12-16T12:00:00Z'), 'Europe/London')).toBe('GMT');
  });
});

// prettier-ignore
test.each([
  [0, '0 s'], [5, '5 s'], [59.4, '59 s'], [59.6, '1 min'], [60, '1 min'], [89, '1 min'], [90, '2 min'], [2700, '45 min'],
  [3570, '1 h'], [3600, '1 h'], [34200, '9 h 30 min'], [90000, '25 h'],
])('%d seconds are %s', (seconds, text) => expect(time.formatSpan(seconds)).toBe(text));

describe('days', () => {
  // prettier-ignore
  test.each([
    ['Europe/London',       '2011-10-16T11:00:00Z', '2011-10-15T23:00:00Z', 24],
    ['Europe/London',       '2011-03-27T11:00:00Z', '2011-03-27T00:00:00Z', 23],
    ['Europe/London',       '2011-10-30T01:30:00Z', '2011-10-29T23:00:00Z', 25],
    ['Asia/Kolkata',        '2011-10-15T18:29:59Z', '2011-10-14T18:30:00Z', 24],
    ['Asia/Kolkata',        '2011-10-15T18:30:00Z', '2011-10-15T18:30:00Z', 24],
    ['America/New_York',    '2011-03-13T12:00:00Z', '2011-03-13T05:00:00Z', 23],
    ['America/New_York',    '2011-11-06T12:00:00Z', '2011-11-06T04:00:00Z', 25],
    ['Australia/Lord_Howe', '2011-10-02T00:00:00Z', '2011-10-01T13:30:00Z', 23.5],
    ['Australia/Lord_Howe', '2011-04-03T00:00:00Z', '2011-04-02T13:00:00Z', 24.5],
    ['Pacific/Chatham',     '2011-09-25T00:00:00Z', '2011-09-24T11:15:00Z', 23],
    ['Asia/Beirut',         '2011-03-27T12:00:00Z', '2011-03-26T22:00:00Z', 23], // its first second is 01:00
  ])('%s has the day of %s from %s on for %d hours', (zone, moment, start, hours) => {
    expect(time.dayStart(at(moment), zone)).toBe(at(start));
    expect(time.dayStart(at(moment), zone, 1)).toBe(at(start) + hours * 3600);
    expect(time.dayStart(at(start) + hours * 3600, zone, -1)).toBe(at(start));
  });

  test('every time is in its day', () => {
    fc.assert(
      fc.property(fc.constantFrom(...zones), fc.integer({ min: 0, max: 2 ** 32 - 1 }), (zone, moment) => {
        expect(time.dayStart(moment, zone)).toBeLessThanOrEqual(moment);
        expect(time.dayStart(moment, zone, 1)).toBeGreaterThan(moment);
        expect(time.formatLocal(time.dayStart(moment, zone), zone)).toMatch(/T00:00$/);
      }),
    );
  });

  // prettier-ignore
  test.each([
    ['Europe/London',    '2011-10-29T11:00:00Z',  1, '2011-10-30T12:00:00Z'],
    ['Europe/London',    '2011-10-30T12:00:00Z', -1, '2011-10-29T11:00:00Z'],
    ['America/New_York', '2011-03-12T07:30:00Z',  1, '2011-03-13T07:30:00Z'], // 02:30 is not there: 03:30
    ['Asia/Kolkata',     '2011-10-16T11:00:00Z',  7, '2011-10-23T11:00:00Z'],
    ['Europe/London',    '2011-12-31T12:00:00Z',  1, '2012-01-01T12:00:00Z'],
  ])('%s: %s and %d days are %s', (zone, moment, days, later) => {
    expect(time.addDays(at(moment), zone, days)).toBe(at(later));
  });
});

describe('a time in an address', () => {
  // prettier-ignore
  test.each([
    ['2011-10-16T12:00',    'Europe/London',    '2011-10-16T11:00:00Z'],
    ['2011-10-16T12:00:30', 'Europe/London',    '2011-10-16T11:00:30Z'],
    ['2011-10-16T12:00',    'Asia/Kolkata',     '2011-10-16T06:30:00Z'],
    ['2011-10-16T12:00',    'America/New_York', '2011-10-16T16:00:00Z'],
    ['2011-10-16T12:00',    'Pacific/Chatham',  '2011-10-15T22:15:00Z'],
    ['2012-02-29T00:00',    'Europe/London',    '2012-02-29T00:00:00Z'],
  ])('%s in %s is %s', (text, zone, moment) => expect(time.parseLocal(text, zone)).toBe(at(moment)));

  test.each(['', 'noon', '2011-10-16', '2011-10-16T12', '2011-10-16 12:00', '2011-13-16T12:00', '2011-00-16T12:00', '2011-10-32T12:00',
    '2011-02-29T12:00', '2011-11-31T12:00', '2011-10-00T12:00', '2011-10-16T24:00', '2011-10-16T12:60', '2011-10-16T12:00:60',
    '2011-10-16T12:00Z', '0050-01-01T00:00'])('%j is none', (text) => {
    expect(time.parseLocal(text, 'Europe/London')).toBeUndefined();
  });

  test('what is written is read, to the minute; of an hour that comes twice one of the two', () => {
    fc.assert(
      fc.property(fc.constantFrom(...zones), fc.integer({ min: 0, max: 2 ** 32 - 1 }), (zone, moment) => {
        const text = time.formatLocal(moment, zone);
        const read = time.parseLocal(text, zone)!;
        expect([moment - (moment % 60), moment - (moment % 60) - 3600, moment - (moment % 60) + 3600,
          moment - (moment % 60) - 1800, moment - (moment % 60) + 1800]).toContain(read);
        expect(time.formatLocal(read, zone)).toBe(text);
        expect(text.endsWith(time.formatTime(moment, zone))).toBe(true);
      }),
    );
  });
});
