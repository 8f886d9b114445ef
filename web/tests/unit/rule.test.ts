// The rules of the weather: in words, and out of the form.

import type { CountedRule, Rule } from '@ostrel/tv/simulator';
import { describe, expect, test } from 'vitest';
import { bare, type Draft, effectText, emptyDraft, isSame, isSpent, presets, ruleOf, whenText } from '../../src/views/simulator/rule.js';

const counted = (rule: Rule, matched = 0, applied = 0): CountedRule => ({
  method: '*', notifications: false, after: 0, probability: 1, ...rule, matched, applied,
});

test.each<[Rule, string, string]>([
  [{ delayMs: 500 }, '500 ms late', 'always'],
  [{ delayMs: 0 }, '0 ms late', 'always'],
  [{ delayMs: [200, 800], error: 'TimedOut' }, '200 to 800 ms late, fails with TimedOut', 'always'],
  [{ drop: 'reply', after: 2, times: 1 }, 'reply lost', 'after 2, once'],
  [{ drop: 'request', times: 3 }, 'request lost', '3 times'],
  [{ drop: 'connection', probability: 0.1 }, 'connection cut', '10 %'],
  [{ notifications: true, drop: 'notification', probability: 0.07 }, 'lost', '7 %'],
])('%j in words', (rule, effect, when) => {
  expect(effectText(rule)).toBe(effect);
  expect(whenText(rule)).toBe(when);
});

describe('a bare rule', () => {
  test('has nothing that holds anyway, and no counts', () => expect(bare(counted({ delayMs: 5 }, 7, 7))).toEqual({ delayMs: 5 }));

  test('keeps what is said', () => {
    const rule: Rule = { method: 'ITVGuide::*', notifications: true, after: 1, times: 0, probability: 0, delayMs: [1, 2], drop: 'notification' };
    expect(bare(rule)).toEqual(rule);
  });

  test('is the same with its counts', () => {
    for (const [, rule] of presets) expect(isSame(rule, counted(rule, 3, 2))).toBe(true);
    expect(isSame({ delayMs: 5 }, { delayMs: 6 })).toBe(false);
  });
});

test.each([
  [{ times: 1 }, 0, false],
  [{ times: 1 }, 1, true],
  [{ times: 0 }, 0, true],
  [{}, 1000, false],
])('of %j, applied %d times, it is %s that nothing is left', (rule, applied, spent) => {
  expect(isSpent(counted({ ...rule, delayMs: 1 }, applied, applied))).toBe(spent);
});

const draft = (changed: Partial<Draft>): Draft => ({ ...emptyDraft, ...changed });

describe('the form', () => {
  test.each<[Partial<Draft>, Rule]>([
    [{ least: '500' }, { delayMs: 500 }],
    [{ least: '0' }, { delayMs: 0 }],
    [{ least: '200', most: '800' }, { delayMs: [200, 800] }],
    [{ least: '200', most: '200' }, { delayMs: 200 }],
    [{ outcome: 'TimedOut', method: ' ITVGuide::* ' }, { method: 'ITVGuide::*', error: 'TimedOut' }],
    [{ outcome: 'connection', times: '1', method: '' }, { times: 1, drop: 'connection' }],
    [{ outcome: 'reply', after: '2', percent: '12.5' }, { after: 2, probability: 0.125, drop: 'reply' }],
    [{ for: 'notification', outcome: 'notification' }, { notifications: true, drop: 'notification' }],
    [{ outcome: 'request', percent: '0', times: '0' }, { times: 0, probability: 0, drop: 'request' }],
  ])('%j makes %j', (changed, rule) => expect(ruleOf(draft(changed))).toEqual({ rule }));

  test.each<[Partial<Draft>, string]>([
    [{}, 'Choose what is to happen: a delay, an error or a loss.'],
    [{ after: '2' }, 'Choose what is to happen: a delay, an error or a loss.'],
    [{ most: '800' }, 'The shortest delay is missing.'],
    [{ least: '800', most: '200' }, 'The longest delay is shorter than the shortest.'],
  ])('%j lacks something', (changed, lacks) => expect(ruleOf(draft(changed))).toEqual({ lacks }));
});
