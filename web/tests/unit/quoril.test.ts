// The page reads the query language as the service does: both read the texts of the module's own
// tables and thousands of random ones, and agree on each token, node and mistake.

import { spawnSync } from 'node:child_process';
import { fileURLToPath } from 'node:url';
import { isDeepStrictEqual } from 'node:util';
import { expect, test } from 'vitest';
import { type Node, nodeLimit, parenthesisLimit, parse } from '../../src/quoril/expression.js';
import { isField, type Token } from '../../src/quoril/tokens.js';
import { QuorilTexts, randomFrom } from './quorilTexts.js';

const built = fileURLToPath(new URL('../../../build/release/tests/TV/ostrel-quoril-reader', import.meta.url));
const reader = process.env.OSTREL_QUORIL_READER ?? built;

interface Reading {
  text: string;
  tokens: object[];
  nodes: number;
  tree: object | null;
  mistake: object | null;
}

function ask(args: string[], input: string): Reading[] {
  const { status, error, stdout, stderr } = spawnSync(reader, args, { input, encoding: 'utf8', maxBuffer: 2 ** 30 });
  if (error || status !== 0) throw error ?? new Error(`${reader} ended with ${status}: ${stderr}`);
  return stdout.split('\n').slice(0, -1).map((line) => JSON.parse(line) as Reading);
}

const askAbout = (texts: readonly string[]) => ask([], texts.map((text) => `${JSON.stringify(text)}\n`).join(''));

/** The module counts bytes. */
const bytesBefore = (text: string, at: number) => Buffer.byteLength(text.slice(0, at));

function describeToken(text: string, { type, at, text: content, number }: Token): object {
  return {
    type,
    at: bytesBefore(text, at),
    ...(number !== undefined && { number: number.toString() }),
    ...(content !== undefined && { text: content }),
    ...(type === 'Identifier' && { isField: isField(content!) }),
  };
}

function describeNode(node: Node): object {
  switch (node.kind) {
    case 'Field':
      return { kind: node.kind, name: node.name };
    case 'Literal':
      return { kind: node.kind, number: node.number.toString() };
    case 'List':
      return { kind: node.kind, numbers: node.numbers.map(describeNode) };
    default:
      return { kind: node.kind, left: describeNode(node.left), right: describeNode(node.right) };
  }
}

/** What the page makes of a text, in the module's words. */
function read(text: string): Reading {
  const { tokens, nodes, tree, mistake } = parse(text);
  return {
    text,
    tokens: tokens.map((token) => describeToken(text, token)),
    nodes,
    tree: tree && describeNode(tree),
    mistake: mistake && { at: bytesBefore(text, mistake.at), reason: mistake.reason, explanation: mistake.explanation },
  };
}

/** Whether between tokens there are blanks alone, and what is marked as wrong is one of them. */
function hasGoodExtents(text: string): boolean {
  const { tokens, mistake } = parse(text);
  const starts = tokens.every(({ at }, i) => /^ *$/.test(text.slice(tokens[i - 1]?.end ?? 0, at)));
  const ends = tokens.every(({ type, at, end }) => (type === 'End' ? end === at : end > at) && end <= text.length);
  return starts && ends && (!mistake || tokens.some(({ at, end }) => at === mistake.at && end === mistake.end));
}

test('every row of the tables of the module', () => {
  // A text in a page has no bytes that are none of UTF-8.
  const rows = ask(['--rows'], '').filter(({ text }) => !text.includes('\ufffd'));
  expect(rows.length).toBeGreaterThan(120);
  for (const row of rows) expect(read(row.text)).toEqual(row);
});

test('every limit, at it and past it', () => {
  const list = (count: number) => `ServiceId in (${Array.from({ length: count }, (_, i) => i).join(', ')})`;
  const nested = (depth: number, inside = '1 == 1') => '('.repeat(depth) + inside + ')'.repeat(depth);
  const comparisons = (count: number, sign: string) => Array(count).fill('1 == 1').join(sign);
  const fits = [list(nodeLimit - 3), `1 in (1) && ${comparisons(4, ' && ')}`, nested(parenthesisLimit),
    `${nested(parenthesisLimit)} || ${nested(parenthesisLimit - 1, '1 in (1)')}`];
  const doesNot = [list(nodeLimit - 2), comparisons(6, '||'), comparisons(6, '&&'), nested(parenthesisLimit + 1),
    nested(parenthesisLimit, '1 in (1)'), '('.repeat(100_000), '9'.repeat(10_000)];
  for (const answer of askAbout([...fits, ...doesNot])) {
    expect(read(answer.text)).toEqual(answer);
    expect(answer.mistake === null).toBe(fits.includes(answer.text));
  }
});

test('10,000 random texts', () => {
  const seed = Number(process.env.OSTREL_SEED ?? 20111016);
  console.log(`OSTREL_SEED=${seed}`);
  const texts = new QuorilTexts(randomFrom(seed));
  const asked = Array.from({ length: 10_000 }, () => texts.next());
  const answers = askAbout(asked);
  expect(answers.map(({ text }) => text)).toEqual(asked);
  const outcomes = new Map<string, number>();
  for (const answer of answers) {
    if (!isDeepStrictEqual(read(answer.text), answer)) expect(read(answer.text)).toEqual(answer); // which is slow
    if (!hasGoodExtents(answer.text)) expect.fail(JSON.stringify(answer.text));
    const outcome = parse(answer.text).mistake?.reason ?? 'parsed';
    outcomes.set(outcome, (outcomes.get(outcome) ?? 0) + 1);
  }
  console.log(Object.fromEntries(outcomes));
  expect(outcomes.size).toBe(11); // every reason there is, and none
  expect(outcomes.get('parsed')).toBeGreaterThan(2000);
});

test.each([
  ['ServiceId = 1', '='],
  ['End > 1 \u{1f600}x', '\u{1f600}'],
  ['Title == "a title', '"a title'],
  ['End > -95', '-'],
  ['End > ', ''],
  ['End > 1 Start', 'Start'],
  ['1 in (1, 2) && 1 == 1 && 1 == 1 && 1 == 1 && 1 == 1', '&&'],
])('%s is marked at "%s"', (text, marked) => {
  const { at, end } = parse(text).mistake!;
  expect(text.slice(at, end)).toBe(marked);
});

test('names that are no field are told', () => {
  expect(parse('Title == 5 || End > 1 && Title < servicEid').unknownFields).toEqual(['Title', 'servicEid']);
});
