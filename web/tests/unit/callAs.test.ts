import { spawnSync } from 'node:child_process';
import fc from 'fast-check';
import { expect, test } from 'vitest';
import { callAs, languages, literal, quote } from '../../src/parts/callAs';

// prettier-ignore
test.each([
  ['scanStart',            'scanStart'],
  ['ITVGuide::query',      'ITVGuide::query'],
  ['http://[::1]:80/a?b',  "'http://[::1]:80/a?b'"],
  ['',                     "''"],
  ['a b',                  "'a b'"],
  ["it's",                 "'it'\\''s'"],
  ['$HOME',                "'$HOME'"],
  ['~',                    "'~'"],
])('%s is quoted as %s', (text, quoted) => expect(quote(text)).toBe(quoted));

test('a shell reads what was quoted', () => {
  const words = fc.array(fc.string({ unit: 'grapheme' }).map((text) => text.replaceAll('\0', '')), { minLength: 1 });
  fc.assert(
    fc.property(words, (words) => {
      const { stdout } = spawnSync('bash', ['-c', `printf '%s\\0' ${words.map(quote).join(' ')}`], { encoding: 'utf8' });
      expect(stdout.split('\0').slice(0, -1)).toEqual(words);
    }),
    { numRuns: 50 },
  );
});

// prettier-ignore
test.each([
  [1,                               '1'],
  ['a',                             "'a'"],
  ["it's",                          '"it\'s"'],
  ['say "hi"',                      "'say \"hi\"'"],
  ['a\nb',                          "'a\\nb'"],
  [[1, 'a'],                        "[1, 'a']"],
  [{},                              '{}'],
  [{ a: 1, 'b-c': null },           "{ a: 1, 'b-c': null }"],
  [{ a: undefined },                '{}'],
  [{ query: { times: [] } },        '{ query: { times: [] } }'],
  [undefined,                       'undefined'],
])('%j is written %s', (value, text) => expect(literal(value)).toBe(text));

/** Nobody's payload has such a member, which would need another way of writing. */
const hasNoPrototype = (value: unknown) => !JSON.stringify(value).includes('__proto__');

test('what is written is the value', () => {
  fc.assert(
    fc.property(fc.jsonValue({ stringUnit: 'binary', maxDepth: 2 }).filter(hasNoPrototype), (value) => {
      expect((0, eval)(`(${literal(value)})`)).toEqual(JSON.parse(JSON.stringify(value))); // which has no -0
    }),
  );
});

test('a call in every language', () => {
  const texts = callAs({ method: 'ITVConfig::scanBlindStart', payload: { sourceId: 1, useNIT: 0 } }, 'http://127.0.0.1:8480');
  expect(languages.map(([language]) => texts[language])).toEqual([
    `CTX=$(curl -s --json '{"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"}' http://127.0.0.1:8480/rpc/TV | jq .result)\n` +
      `curl -s --json '{"jsonrpc":"2.0","id":2,"method":"ITVConfig::scanBlindStart","params":{"context":'$CTX',"payload":{"sourceId":1,"useNIT":0}}}' http://127.0.0.1:8480/rpc/TV`,
    'await tv.scan.scanBlindStart({ sourceId: 1, useNIT: 0 });',
    'client.call("ITVConfig::scanBlindStart", R"({"sourceId":1,"useNIT":0})");',
    `ostrel-tv call ITVConfig::scanBlindStart '{"sourceId":1,"useNIT":0}'`,
  ]);
});
