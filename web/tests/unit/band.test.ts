// The band that scans search, and how it is drawn.

import { expect, test } from 'vitest';
import { bandSecondsLeft, channelOf, channelWidth, frequencies, placeInBand, visited } from '../../src/views/scan/band.js';

test('the band has 48 channels from 474 to 850 MHz', () => {
  expect(frequencies).toHaveLength(48);
  expect([frequencies[0], frequencies[1], frequencies.at(-1)]).toEqual([474, 482, 850]);
});

test.each([[474, 21], [690, 48], [850, 68], [466, undefined], [858, undefined], [691, undefined]])('%d MHz is channel %s', (frequency, channel) => {
  expect(channelOf(frequency)).toBe(channel);
});

test('it is drawn to scale, each channel around its middle', () => {
  expect(placeInBand(474)).toBeCloseTo(channelWidth / 2);
  expect(placeInBand(850)).toBeCloseTo(1 - channelWidth / 2);
  expect(placeInBand(662)).toBeCloseTo(0.5);
});

test.each([[0, 0], [1, 0], [2, 1], [50, 24], [56, 27], [58, 28], [99, 48], [100, 48]])('at %d percent %d of 48 have been visited', (percent, count) => {
  expect(visited(percent)).toBe(count);
});

test('of a list of seven, three at 42 percent', () => expect(visited(42, 7)).toBe(3));

test('what is left is what the service has still to do, second by second', () => {
  for (let second = 0; second <= 48; ++second) expect(bandSecondsLeft(Math.trunc((second * 100) / 48))).toBe(48 - second);
});
