// @vitest-environment happy-dom
import fc from 'fast-check';
import { describe, expect, onTestFinished, test, vi } from 'vitest';
import { formatRoute, navigate, parseRoute, views } from '../../src/app/route';
import { readToken, takeToken } from '../../src/app/token';

describe('an address', () => {
  // prettier-ignore
  test.each([
    ['',                                          'guide',   {}],
    ['#',                                         'guide',   {}],
    ['#/',                                        'guide',   {}],
    ['#/now',                                     'now',     {}],
    ['#now',                                      'now',     {}],
    ['#/guide?at=2011-10-16T12:00&genre=movie',   'guide',   { at: '2011-10-16T12:00', genre: 'movie' }],
    ['#/query?text=Title+==+"a?b"',               'query',   { text: 'Title == "a?b"' }],
    ['#/query?text=ServiceId%20%3D%3D%201043',    'query',   { text: 'ServiceId == 1043' }],
    ['#/nowhere?at=2011-10-16T12:00',             'guide',   {}],
    ['#/Guide',                                   'guide',   {}],
    ['#/traffic?client=%zz',                      'traffic', { client: '%zz' }],
  ])('%s is read', (fragment, view, params) => {
    const route = parseRoute(fragment);
    expect([route.view, Object.fromEntries(route.params)]).toEqual([view, params]);
  });

  // prettier-ignore
  test.each([
    ['guide', {},                                                 '#/guide'],
    ['guide', { at: '2011-10-16T12:00', genre: '', kind: undefined }, '#/guide?at=2011-10-16T12:00'],
    ['query', { text: 'Title == "a&b"' },                         '#/query?text=Title+%3D%3D+%22a%26b%22'],
    ['traffic', { methods: 'a::b,c/d' },                          '#/traffic?methods=a::b,c/d'],
    ['query', { text: '%3A' },                                    '#/query?text=%253A'],
  ] as const)('%s with %j is written', (view, params, fragment) => expect(formatRoute(view, params)).toBe(fragment));

  test('what is written is read', () => {
    const text = fc.string({ unit: 'binary', minLength: 1 });
    fc.assert(
      fc.property(fc.constantFrom(...views), fc.array(fc.tuple(text, text)), (view, pairs) => {
        const route = parseRoute(formatRoute(view, new URLSearchParams(pairs)));
        expect([route.view, [...route.params]]).toEqual([view, pairs]);
      }),
    );
  });

  test('changes with Back, or without', () => {
    navigate('#/now');
    const before = history.length;
    navigate('#/scan', { replace: true });
    expect([location.hash, history.length]).toEqual(['#/scan', before]);
    navigate('#/scan');
    expect(history.length).toBe(before);
    navigate('#/query');
    expect([location.hash, history.length]).toEqual(['#/query', before + 1]);
  });
});

// prettier-ignore
test.each([
  ['#token=abc-_9',                      'abc-_9',  ''],
  ['#token=abc&',                        'abc',     ''],
  ['#token=abc/guide',                   'abc',     '#/guide'],
  ['#/guide?token=abc',                  'abc',     '#/guide'],
  ['#/guide?token=abc&at=1',             'abc',     '#/guide?at=1'],
  ['#/guide?at=1&token=abc',             'abc',     '#/guide?at=1'],
  ['#/guide?at=1&token=abc&genre=movie', 'abc',     '#/guide?at=1&genre=movie'],
  ['#/guide?at=1',                       undefined, '#/guide?at=1'],
  ['#/query?text=token%3Dabc',           undefined, '#/query?text=token%3Dabc'],
  ['#/query?mytoken=abc',                undefined, '#/query?mytoken=abc'],
  ['',                                   undefined, ''],
])('of %s the token is taken', (fragment, token, rest) => expect(takeToken(fragment)).toEqual({ token, rest }));

describe('where the browser keeps nothing', () => {
  const refuse = () => {
    throw new DOMException('The operation is insecure.', 'SecurityError');
  };

  // prettier-ignore
  test.each([
    ['#/now',           undefined],
    ['#/now?token=abc', 'abc'],
  ])('a page at %s has the token of its address', (fragment, token) => {
    vi.stubGlobal('sessionStorage', { getItem: refuse, setItem: refuse });
    onTestFinished(() => void vi.unstubAllGlobals());
    location.hash = fragment;
    expect(readToken()).toBe(token);
    expect(location.hash).toBe(fragment);
  });
});

test('a token of an address is kept, and leaves it', () => {
  onTestFinished(() => sessionStorage.clear());
  location.hash = '#/now';
  expect(readToken()).toBeUndefined();
  location.hash = '#/now?token=abc';
  expect([readToken(), location.hash]).toEqual(['abc', '#/now']);
  expect(readToken()).toBe('abc');
});
