// @vitest-environment happy-dom
import type { Query } from '@ostrel/tv';
import { describe, expect, test } from 'vitest';
import { inks, layOut, print } from '../../src/parts/document';
import { parse } from '../../src/quoril/expression';
import { complete, type Known } from '../../src/views/query/complete';
import { makeExamples, makeTimes } from '../../src/views/query/examples';
import { find } from '../../src/views/query/found';
import { orderOf, orders, tidy, withOrder } from '../../src/views/query/form';
import { withLatest } from '../../src/views/query/history';
import { paint } from '../../src/views/query/paint';
import { addressOf, callOf, type Question, readForm, readQuestion } from '../../src/views/query/question';
import { type Branch, grow } from '../../src/views/query/tree';
import { QuorilTexts, randomFrom } from './quorilTexts';

const known: Known = {
  services: [
    { id: 1043, name: 'BBC ONE' },
    { id: 1044, name: 'BBC TWO' },
    { id: 1004, name: 'Channel 4' },
    { id: 1005, name: 'Film4' },
  ],
  times: [
    { name: 'now', time: 1318762800, shown: 'Sun 16 Oct 12:00' },
    { name: 'tonight', time: 1318791600, shown: 'Sun 16 Oct 20:00' },
  ],
};

/** The text with the caret at "|": what is offered, behind what stays of the text. */
function offer(text: string): string {
  const caret = text.indexOf('|');
  const found = complete(text.replace('|', ''), caret, known);
  return found === undefined ? 'nothing' : `${text.slice(0, found.from)}<${found.suggestions.map(({ label }) => label).join(', ')}>`;
}

describe('what may follow', () => {
  test.each([
    ['|', '<ServiceId, Start, End>'],
    ['s|', '<ServiceId, Start>'],
    ['SERV|', '<ServiceId>'],
    ['Start|', 'nothing'],
    ['x|', 'nothing'],
    ['ServiceId |', 'ServiceId <==, <, <=, >, >=, in (>'],
    ['ServiceId i|', 'ServiceId <in (>'],
    ['ServiceId =|', 'nothing'],
    ['ServiceId == |', 'ServiceId == <BBC ONE, BBC TWO, Channel 4, Film4, ServiceId, Start, End>'],
    ['ServiceId == bb|', 'ServiceId == <BBC ONE, BBC TWO>'],
    ['ServiceId == BBC t|', 'ServiceId == <BBC TWO>'],
    ['ServiceId == channel 4|', 'ServiceId == <Channel 4>'],
    ['ServiceId == two|', 'ServiceId == <BBC TWO>'],
    ['ServiceId == 104|', 'ServiceId == <BBC ONE, BBC TWO>'],
    ['ServiceId == 1043|', 'nothing'],
    ['ServiceId in (|', 'ServiceId in (<BBC ONE, BBC TWO, Channel 4, Film4>'],
    ['ServiceId in (1043, f|', 'ServiceId in (1043, <Film4>'],
    ['ServiceId in (1043 |', 'ServiceId in (1043 <,, )>'],
    ['ServiceId in |', 'ServiceId in <(>'],
    ['Start >= |', 'Start >= <now, tonight, ServiceId, Start, End>'],
    ['Start >= n|', 'Start >= <now>'],
    ['End > 5 |', 'End > 5 <&&, ||>'],
    ['(End > 5 |', '(End > 5 <&&, ||, )>'],
    ['End > 5 && |', 'End > 5 && <ServiceId, Start, End>'],
    ['End > 5 && S| < 7', 'End > 5 && <ServiceId, Start>'],
    ['ServiceId != 5 && |', 'nothing'],
  ])('%s', (text, wanted) => {
    expect(offer(text)).toBe(wanted);
  });
});

test('the colours leave every letter of a text where it is', () => {
  const texts = new QuorilTexts(randomFrom(7));
  for (let i = 0; i < 2000; ++i) {
    const text = texts.next();
    const expression = parse(text);
    const pieces = paint(text, expression);
    expect(pieces.map((piece) => piece.text).join('')).toBe(text);
    const wrong = pieces.filter(({ isWrong }) => isWrong).map((piece) => piece.text);
    expect(wrong).toEqual(expression.mistake ? [text.slice(expression.mistake.at, expression.mistake.end)] : []);
  }
});

test.each([
  ['End > -8 && Titel', 'field:End plain:_ sign:> plain:_ number:-8 plain:_ join:&& plain:_ unknown:Titel field!:'],
  ['in (1,2)', 'sign!:in plain:_ parenthesis:( number:1 parenthesis:, number:2 parenthesis:)'],
  ['End = 1', 'field:End plain:_ unread!:= unread:_1'],
])('the colours of %s', (text, wanted) => {
  const pieces = paint(text, parse(text)).map((piece) => `${piece.ink}${piece.isWrong ? '!' : ''}:${piece.text.replaceAll(' ', '_')}`);
  expect(pieces.join(' ')).toBe(wanted.replace('field!:', 'sign!:'));
});

test('the tree says what numbers stand for', () => {
  const meaning = (field: string, number: bigint) => `${field} ${number}`;
  const write = ({ label, meaning: said, children }: Branch): string => `${label}${said && `[${said}]`}${children.length ? `(${children.map(write).join(' ')})` : ''}`;
  const text = '(ServiceId in (5, 6) || 7 <= Start) && Title == 8';
  const root = grow(parse(text).tree!, meaning);
  expect(write(root)).toBe(
    '&&[both](||[either](in[one of](ServiceId list[of 2](5[ServiceId 5] 6[ServiceId 6])) <=[at most](7[Start 7] Start)) ==[is](Title[no field] 8[Title 8]))',
  );
  expect(text.slice(root.children[0]!.at, root.children[0]!.end)).toBe('(ServiceId in (5, 6) || 7 <= Start)');
});

describe('an address', () => {
  const read = (address: string) => new URLSearchParams(address.replace('#/query?', ''));
  test.each<Question>([
    { by: 'expression', expression: 'ServiceId == 1043 && Start < 5' },
    { by: 'expression', expression: '' },
    { by: 'expression', expression: 'a\t"&#%é😀' },
    { by: 'form', query: {} },
    { by: 'form', query: { stringList: ['a&b'], timeRange: { base: 5 }, sliceRange: { limit: 3 } } },
  ])('holds %j', (question) => {
    expect(readQuestion(read(addressOf(question, 'json')))).toEqual(question);
    expect(readForm(read(addressOf(question, 'json')), question.by)).toBe('json');
  });
  test('without a question leaves it open', () => {
    expect(readQuestion(read(''))).toBeUndefined();
    expect(readForm(read(''))).toBe('table');
  });
  test('that was cut asks for all', () => {
    expect(readQuestion(new URLSearchParams('form={"timeRange":'))).toEqual({ by: 'form', query: {} });
    expect(readQuestion(new URLSearchParams('form=[1]'))).toEqual({ by: 'form', query: {} });
  });
  // prettier-ignore
  test.each([
    ['serviceIdList', 'abc'], ['serviceIdList', [null, {}]], ['genreList', { length: 3 }], ['stringList', [1]], ['timeRange', { base: 'x' }],
    ['timeRange', null], ['sliceRange', { base: {} }], ['stringAnd', 1], ['orderByStartTimePriority', '1'], ['constructor', 1],
  ])('whose %s is %j leaves that out', (name, value) => {
    const params = new URLSearchParams({ form: JSON.stringify({ [name]: value, stringMatchDescription: true }) });
    expect(readQuestion(params)).toEqual({ by: 'form', query: { stringMatchDescription: true } });
  });
  test('knows that there is no XML of records', () => expect(readForm(new URLSearchParams('as=xml'), 'form')).toBe('table'));
});

test('a question becomes a call', () => {
  expect(callOf({ by: 'expression', expression: 'End > 5' }, 'table').payload).toEqual({ expression: 'End > 5', expressionFormat: 'quoril', outputFormat: 'quoriljson' });
  expect(callOf({ by: 'expression', expression: '' }, 'xml').payload).toMatchObject({ outputFormat: 'quorilxml' });
  expect(callOf({ by: 'form', query: { stringAnd: true } }, 'json')).toEqual({ method: 'ITVGuide::queryEventInfo', payload: { query: { stringAnd: true } } });
});

test('orders are priorities, and priorities orders', () => {
  for (const order of Object.keys(orders) as (keyof typeof orders)[]) expect(orderOf(withOrder({ stringAnd: true }, order))).toBe(order);
  expect(withOrder({ orderByServiceIdPriority: 5, stringAnd: true }, 'start')).toEqual({ stringAnd: true });
  expect(orderOf({ orderByServiceIdPriority: 3, orderByStartTimePriority: 3 })).toBe('start'); // equal ones do not sort
  expect(orderOf({ orderByServiceIdPriority: 9, orderByStartTimePriority: 4 })).toBe('start, service');
  expect(orderOf({ orderByServiceIdPriority: -2, orderByStartTimePriority: 4 })).toBe('start');
});

test('members that say nothing are not sent', () => {
  const query: Query = { serviceIdList: [], stringAnd: false, stringList: ['a'], orderByServiceIdPriority: 0 };
  expect(tidy(query)).toEqual({ stringList: ['a'], orderByServiceIdPriority: 0 });
});

test('the history holds each query once, the latest first, and no more than 30', () => {
  expect(withLatest(['a', 'b', 'c'], 'b')).toEqual(['b', 'a', 'c']);
  const many = Array.from({ length: 40 }, (_, i) => String(i)).reduce<readonly string[]>(withLatest, []);
  expect(many).toHaveLength(30);
  expect(many[0]).toBe('39');
});

test('examples parse, but for the one that does not', () => {
  for (const zone of ['Europe/London', 'Asia/Tokyo', 'America/St_Johns']) {
    const examples = makeExamples(1318762800, zone, known.services);
    expect(examples.filter(({ expression }) => parse(expression).mistake !== null).map(({ name }) => name)).toEqual(['A mistake']);
    expect(new Set(examples.map(({ expression }) => expression)).size).toBe(examples.length);
  }
  // The clocks go back at 02:00 on 30 October: eight in the evening is nineteen hours of GMT later.
  expect(makeTimes(1319932800, 'Europe/London').find(({ name }) => name === 'tonight')!.time).toBe(Date.UTC(2011, 9, 30, 20) / 1000);
});

test('rows of documents and of events are alike', () => {
  const document = JSON.stringify({ progSchedule: { ServiceId: 5, Start: 1, End: 2, Title: 'a', Description: 'b', Content: [32], IsHd: true } });
  const event = { serviceId: 5, startTime: 1, endTime: 2, title: 'a', description: 'b', genres: [32], highDefinition: true, extra: 0 };
  const found = find([document, event]);
  expect(found.count).toBe(2);
  expect(found.row(0)).toEqual(found.row(1));
  expect(found.document(0)).toBe(document);
  expect(JSON.parse(found.document(1))).toEqual(event);
});

test.each(['{}', '{"progSchedule":null}', '{"progSchedule":{"Title":"a"}}', 'no JSON', ''])('the document %j has no row, and is shown as it is', (document) => {
  const found = find([document]);
  expect(found.row(0)).toBeUndefined();
  expect(found.document(0)).toBe(document);
  expect(layOut(document).replace(/\s/g, '')).toBe(document.replace(/\s/g, ''));
});

test('documents are laid out without a change of what they hold', () => {
  const value = { a: [1, 2], b: ['[ x ]', '[\n 1\n ]'], c: [{ d: [] }], e: '{"f": [1]}', g: [] };
  expect(JSON.parse(print(value))).toEqual(value);
  expect(print({ a: [1, 2] })).toBe('{\n  "a": [1, 2]\n}');
  const xml = '<p><A>1</A><B/><T></T><D>a &lt;b&gt; c</D></p>';
  expect(layOut(xml)).toBe('<p>\n  <A>1</A>\n  <B/>\n  <T></T>\n  <D>a &lt;b&gt; c</D>\n</p>');
  for (const text of [layOut(xml), print(value)]) expect(inks(text).map((piece) => piece.text).join('')).toBe(text);
  expect(inks('{"a": "\\"x\\": y", "b": -1.5}').map(({ text, ink }) => `${ink}:${text}`)).toEqual(
    ['mark:{', 'name:"a"', 'mark:: ', 'text:"\\"x\\": y"', 'mark:, ', 'name:"b"', 'mark:: ', 'value:-1.5', 'mark:}'],
  );
});
