import { parse, type Reason } from '../../quoril/expression';
import { fields, readTokens, type Token } from '../../quoril/tokens';

/** Something that may stand at a place. */
export interface Suggestion {
  insert: string;
  label: string;
  hint: string;
}

export interface Completion {
  /** Where the word begins that is taken away for a suggestion; it ends at the caret. */
  from: number;
  suggestions: readonly Suggestion[];
}

/** What is known of the numbers that fields are compared with. */
export interface Known {
  services: readonly { id: number; name: string }[];
  /** Times that are asked for often, such as "now". */
  times: readonly { name: string; time: number; shown: string }[];
}

const most = 40;

const fieldHints: Record<(typeof fields)[number], string> = {
  ServiceId: 'who broadcasts it, by a number',
  Start: 'when it begins',
  End: 'when it is over',
};

const suggest = (insert: string, hint: string): Suggestion => ({ insert, label: insert.trim(), hint });

const comparisons = [
  suggest('== ', 'is'),
  suggest('< ', 'is less than, or before'),
  suggest('<= ', 'is at most, or not after'),
  suggest('> ', 'is more than, or after'),
  suggest('>= ', 'is at least, or not before'),
  suggest('in (', 'is one of a list'),
];
const joins = [suggest('&& ', 'and'), suggest('|| ', 'or')];

/** What the text may go on with, as the parser says; nothing where it goes wrong before its end. */
function expectation(text: string): Reason | undefined {
  const { tree, mistake } = parse(text);
  if (mistake !== null) return mistake.at === text.length ? mistake.reason : undefined;
  return tree === null ? 'ElementExpected' : 'EndExpected';
}

/** The field that the number at the end is compared with. */
function comparedField(tokens: readonly Token[]): string | undefined {
  let last = tokens.length - 2; // before the End
  while (['Comma', 'Integer', 'LeftParen'].includes(tokens[last]?.type ?? '')) --last;
  const isCompared = /^(In|Equal|Less|Greater)/.test(tokens[last]?.type ?? '');
  const field = isCompared ? tokens[last - 1] : undefined;
  return field?.type === 'Identifier' ? field.text : undefined;
}

/** Numbers that the field is likely to be compared with, by what is typed of their names. */
function numbers(field: string | undefined, typed: string, { services, times }: Known): Suggestion[] {
  const words = typed.toLowerCase();
  if (field === 'ServiceId')
    return services
      .filter(({ id, name }) => String(id).startsWith(words) || ` ${name.toLowerCase()}`.includes(words && ` ${words}`))
      .map(({ id, name }) => ({ insert: String(id), label: name, hint: String(id) }));
  if (field !== 'Start' && field !== 'End') return [];
  return times
    .filter(({ name }) => name.toLowerCase().startsWith(words))
    .map(({ name, time, shown }) => ({ insert: String(time), label: name, hint: shown }));
}

function suggestions(before: string, typed: string, known: Known): readonly Suggestion[] {
  const startsLikeIt = ({ label }: Suggestion) => label.toLowerCase().startsWith(typed.toLowerCase());
  const names = fields.map((name) => suggest(`${name} `, fieldHints[name]));
  const field = comparedField(readTokens(before));
  switch (expectation(before)) {
    case 'ElementExpected':
      return [...numbers(field, typed, known), ...names.filter(startsLikeIt)];
    case 'NumberExpected':
      return numbers(field, typed, known);
    case 'OperatorExpected':
      return comparisons.filter(startsLikeIt);
    case 'EndExpected':
      return joins.filter(startsLikeIt);
    case 'ParenthesisExpected':
      return [...joins, suggest(') ', 'end of the group')].filter(startsLikeIt);
    case 'CommaExpected':
      return [suggest(', ', 'another one'), suggest(') ', 'end of the list')].filter(startsLikeIt);
    case 'ListExpected':
      return [suggest('(', 'a list')];
    default:
      return [];
  }
}

/** Where the words before the caret begin that could be one name, "Channel 4" or "BBC ONE"; the first one first. */
function starts(before: string): number[] {
  const tail = /[^\s(),<>=&|!"]*(?: +[^\s(),<>=&|!"]+){0,3}$/.exec(before)!;
  const found = [...tail[0].matchAll(/\S+/g)].map(({ index }) => tail.index + index);
  return found.length > 0 ? found : [before.length];
}

/** What may stand at the caret, in place of the word that is begun there. */
export function complete(text: string, caret: number, known: Known): Completion | undefined {
  const before = text.slice(0, caret);
  for (const from of starts(before)) {
    const typed = before.slice(from);
    const found = suggestions(before.slice(0, from), typed, known).filter(({ insert }) => insert.trim() !== typed);
    if (found.length > 0) return { from, suggestions: found.slice(0, most) };
  }
  return undefined;
}
