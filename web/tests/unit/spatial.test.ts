import { expect, test } from 'vitest';
import { type Box, type Direction, neighbour } from '../../src/app/spatial';

/**
 * Boxes in a drawing: each letter's cells make one, of 10 by 10 pixels a cell. A dot is nobody's.
 */
function boxesOf(drawing: string): Map<string, Box> {
  const boxes = new Map<string, Box>();
  drawing.split('/').forEach((line, row) =>
    [...line].forEach((letter, column) => {
      const cell = { left: column * 10, top: row * 10, right: column * 10 + 9, bottom: row * 10 + 9 };
      const box = boxes.get(letter) ?? cell;
      boxes.set(letter, { ...box, right: Math.max(box.right, cell.right), bottom: Math.max(box.bottom, cell.bottom) });
    }),
  );
  boxes.delete('.');
  return boxes;
}

function next(drawing: string, from: string, direction: Direction): string {
  const boxes = boxesOf(drawing);
  const start = boxes.get(from)!;
  boxes.delete(from);
  return [...boxes.keys()][neighbour([...boxes.values()], start, direction)] ?? '';
}

// prettier-ignore
test.each([
  // drawing              from  left  right  up   down   what it is
  ['abc',                 'b',  'a',  'c',   '',  '',    'a line'],
  ['a/b/c',               'b',  '',   '',    'a', 'c',   'a column'],
  ['a',                   'a',  '',   '',    '',  '',    'nothing else'],
  ['a...b/..c..',         'a',  '',   'b',   '',  'c',   'the same line goes before what is nearer'],
  ['a.../..b.',           'a',  '',   'b',   '',  'b',   'where the line has nobody, who is aside'],
  ['ab/cd',               'a',  '',   'b',   '',  'c',   'corners'],
  ['ab/cd',               'd',  'c',  '',    'b', '',    'corners, from the other end'],
  ['aaaa/b.cd',           'a',  '',   '',    '',  'c',   'of those below, the one below its middle'],
  ['.b.c./aaaaa',         'b',  '',   'c',   '',  'a',   'from a narrow one to a wide one'],
  ['ab/a./ac',            'a',  '',   'b',   '',  '',    'of equals aside, the first'],
  ['n..../n.ab./n....',   'a',  'n',  'b',   '',  '',    'to the bar on the left'],
])('%s from %s', (drawing, from, left, right, up, down) => {
  expect({
    left: next(drawing, from, 'ArrowLeft'),
    right: next(drawing, from, 'ArrowRight'),
    up: next(drawing, from, 'ArrowUp'),
    down: next(drawing, from, 'ArrowDown'),
  }).toEqual({ left, right, up, down });
});

test('what lies over it by a pixel is beside it, what lies over it by more is not', () => {
  const from = { left: 0, top: 0, right: 10, bottom: 10 };
  expect(neighbour([{ left: 9, top: 0, right: 20, bottom: 10 }], from, 'ArrowRight')).toBe(0);
  expect(neighbour([{ left: 8, top: 0, right: 20, bottom: 10 }], from, 'ArrowRight')).toBe(-1);
});
