// The slider of the simulator's speed.

import { describe, expect, test } from 'vitest';
import { fastest, lastPosition, marks, positionOf, speedAt, speedText } from '../../src/views/simulator/speed.js';

const positions = Array.from({ length: lastPosition + 1 }, (_, position) => position);

describe('the slider', () => {
  test('goes from standing still to the fastest there is', () => {
    expect(speedAt(0)).toBe(0);
    expect(speedAt(1)).toBe(0.1);
    expect(speedAt(lastPosition)).toBe(fastest);
  });

  test('is faster at each position than at the one before', () => {
    const speeds = positions.map(speedAt);
    expect(speeds).toEqual([...new Set(speeds)].sort((one, other) => one - other));
  });

  test('stands where its speed is', () => expect(positions.map((position) => positionOf(speedAt(position)))).toEqual(positions));

  test('meets the marks exactly', () => {
    expect(marks.map(([speed]) => speedAt(positionOf(speed)))).toEqual([0, 1, 10, 60, 600, 3600]);
  });

  test('is as far from 1 to 10 as from 10 to 100', () => {
    expect(Math.abs(positionOf(10) - positionOf(1) - (positionOf(100) - positionOf(10)))).toBeLessThanOrEqual(1);
  });

  test.each([[0.0001, 1], [0.05, 1], [5000, lastPosition], [-1, 0]])('at %s is at its end', (speed, position) => {
    expect(positionOf(speed)).toBe(position);
  });
});

test.each([
  [0, 'stands still'],
  [0.5, '0.5 s in a second'],
  [1, 'runs as usual'],
  [10, '10 s in a second'],
  [60, '1 min in a second'],
  [100, '1.67 min in a second'],
  [3600, 'an hour in a second'],
])('speed %s: %s', (speed, text) => expect(speedText(speed)).toBe(text));
