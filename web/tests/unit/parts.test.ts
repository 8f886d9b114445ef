// @vitest-environment happy-dom
import { describe, expect, test, vi } from 'vitest';
import { clockMark } from '../../src/app/clockMark';
import { classes } from '../../src/parts/classes';
import { genreKinds, genreName, kindNamed, kindOf, kindWord } from '../../src/parts/genre';
import { serviceType, typeNamed } from '../../src/parts/services';
import { hueOf, lettersOf } from '../../src/parts/Tile';
import { Topic } from '../../src/parts/Topic';

// prettier-ignore
test.each([
  [0,    0, ''],     [undefined, 0, ''], [0x0f, 0, ''],        [0x10, 1, 'Film'],  [0x1f, 1, 'Film'], [0x25, 2, 'News'],
  [0xa0, 10, 'Leisure'], [0xb3, 11, 'Special'], [0xc0, 0, ''], [0xf0, 0, ''],      [0x1ff, 0, ''],    [-1, 0, ''],
])('the content code %s is of kind %d, %s', (code, kind, word) => {
  expect([kindOf(code), kindWord(kindOf(code))]).toEqual([kind, word]);
});

test('a choice of kinds leaves out the one that says nothing', () => {
  expect(genreKinds.map(([kind]) => kind)).toEqual([1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11]);
  expect(genreKinds.every(([kind, word]) => word === kindWord(kind) && word !== '')).toBe(true);
});

describe('a tile', () => {
  // prettier-ignore
  test.each([
    ['BBC ONE', 'B1'], ['BBC THREE', 'B3'], ['Channel 4', 'C4'], ['Dave', 'Dav'], ['ITV1', 'ITV1'], ['ITV2', 'ITV2'], ['E4', 'E4'], ['Film4', 'F4'], ['4Music', '4M'],
    ['BBC Radio 5 Live', 'BR5'], ['BBC 6 Music', 'B6M'], ['five USA', '5U'], ['S4C', 'S4C'], ['CNN 2024', 'C20'], ['Ünal TV', 'ÜT'],
    ['日本放送', '日本放'], ['', '?'], ['***', '?'], ['🦊🦊', '🦊'], ['Yesterday', 'Yes'], ['𝒳YZW', '𝒳YZ'],
  ])('%s is %s', (name, letters) => expect(lettersOf(name)).toBe(letters));

  test('has a colour of its own', () => {
    expect(hueOf('BBC ONE')).toBe(hueOf('BBC ONE'));
    const hues = Array.from({ length: 100 }, (_, i) => hueOf(`Channel ${i}`));
    expect(Math.min(...hues)).toBeGreaterThanOrEqual(0);
    expect(Math.max(...hues)).toBeLessThan(360);
    expect(new Set(hues).size).toBeGreaterThan(70);
  });
});

// prettier-ignore
test.each([
  [1000, 0, 1000, 'held'], [1000, 0, 5, 'held'], [1000, 60, 1000, '× 60'], [1000, 0.5, 1000, '× 0.5'],
  [1000, 1, 1000, ''], [1005, 1, 1000, ''], [1006, 1, 1000, 'set'], [1000, 1, 1006, 'set'],
])('a clock that shows %d at speed %d where the system has %d is marked %j', (now, speed, system, mark) => {
  expect(clockMark(now, speed, system)).toBe(mark);
});

test('a topic tells those who listen of what is new alone', () => {
  const topic = new Topic(1);
  const heard: number[] = [];
  const stop = topic.listen(() => heard.push(topic.get()));
  topic.set(2);
  topic.set(2);
  topic.set(NaN);
  topic.set(NaN);
  stop();
  topic.set(3);
  expect(heard).toEqual([2, NaN]);
  expect(topic.get()).toBe(3);
});

test('who stops listening while others are told is not in their way', () => {
  const topic = new Topic(1);
  const heard: string[] = [];
  const stop = topic.listen(() => (heard.push('first'), stop()));
  topic.listen(() => heard.push('second'));
  topic.set(2);
  expect(heard).toEqual(['first', 'second']);
});

test('names of classes are joined, of those that are there', () => {
  expect(classes('a', false, undefined, null, '', 'b')).toBe('a b');
});

describe('what the browser remembers', () => {
  vi.mock('../../src/app/simulator', () => ({})); // it connects
  const settings = async () => (vi.resetModules(), import('../../src/app/settings'));

  test('is there the next time', async () => {
    (await settings()).theme.set('light');
    expect((await settings()).theme.get()).toBe('light');
  });

  test('is left alone where it is none of the choices', async () => {
    localStorage.setItem('ostrel.zone', 'moon');
    expect((await settings()).zoneChoice.get()).toBe('service');
  });

  test('is until the page is left where nothing is kept', async () => {
    const refuse = () => {
      throw new DOMException('no', 'SecurityError');
    };
    vi.stubGlobal('localStorage', { getItem: refuse, setItem: refuse });
    const { theme } = await settings();
    theme.set('light');
    expect(theme.get()).toBe('light');
    vi.unstubAllGlobals();
  });

  test('the theme is on the document', async () => {
    const { applyTheme, theme } = await settings();
    applyTheme();
    theme.set('dark');
    expect(document.documentElement.dataset.theme).toBe('dark');
    theme.set('system');
    expect(document.documentElement.dataset.theme).toBe('system');
  });
});

describe('a type of service', () => {
  test.each([1, 2, 3])('%d is found by the name that addresses have for it', (type) => {
    expect(typeNamed(serviceType(type).name)).toBe(type);
  });
  test('that nobody knows is said by its number, and named by none', () => {
    expect(serviceType(25).word).toBe('Type 25');
    expect([typeNamed(''), typeNamed('Radio'), typeNamed('toString')]).toEqual([undefined, undefined, undefined]);
  });
});

test('a kind of programme is found by the name that addresses have for it', () => {
  for (const [kind] of genreKinds) expect(kindNamed(genreName(kind))).toBe(kind);
  expect([kindNamed('movie'), kindNamed('film'), kindNamed('')]).toEqual([1, undefined, undefined]);
});
