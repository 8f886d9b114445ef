import type { Query } from '@ostrel/tv';
import { formatRoute } from '../../app/route';
import type { CallLike } from '../../parts/callAs';

/** What is asked: an expression of the query language, or the members of an event query. */
export type Question = { by: 'expression'; expression: string } | { by: 'form'; query: Query };

export const forms = ['table', 'json', 'xml'] as const;
/** How the answer is shown. */
export type Form = (typeof forms)[number];

/** Reads what an address asks; undefined where it leaves that open. */
export function readQuestion(params: URLSearchParams): Question | undefined {
  const form = params.get('form');
  if (form !== null) return { by: 'form', query: readQuery(form) };
  const expression = params.get('q');
  return expression === null ? undefined : { by: 'expression', expression: expression === ' ' ? '' : expression };
}

type Check = (value: unknown) => boolean;
const isBoolean: Check = (value) => typeof value === 'boolean';
const isNumber: Check = (value) => typeof value === 'number';
const listOf = (type: string): Check => (value) => Array.isArray(value) && value.every((item) => typeof item === type);
const isObject = (value: unknown): value is object => typeof value === 'object' && value !== null && !Array.isArray(value);
const isRange: Check = (value) => isObject(value) && Object.values(value).every((member) => isNumber(member) || isBoolean(member));

/** What the form can show of each member. */
const members: Readonly<Record<keyof Query, Check>> = {
  serviceIdList: listOf('number'),
  genreList: listOf('number'),
  stringList: listOf('string'),
  stringAnd: isBoolean,
  stringMatchDescription: isBoolean,
  timeRange: isRange,
  sliceRange: isRange,
  orderByServiceIdPriority: isNumber,
  orderByStartTimePriority: isNumber,
};

/** Leaves out what is not as a query has it: an address may be cut, or written by hand. */
function readQuery(text: string): Query {
  try {
    const query: unknown = JSON.parse(text);
    const fits = ([name, value]: [string, unknown]) => Object.hasOwn(members, name) && members[name as keyof Query](value);
    return isObject(query) ? Object.fromEntries(Object.entries(query).filter(fits)) : {};
  } catch {
    return {};
  }
}

/** Documents are XML for those of an expression alone. */
export function readForm(params: URLSearchParams, by: Question['by'] = 'expression'): Form {
  const form = forms.find((known) => known === params.get('as')) ?? 'table';
  return by === 'form' && form === 'xml' ? 'table' : form;
}

/** The address of a question. */
export function addressOf(question: Question, form: Form): string {
  const as = form === 'table' ? undefined : form;
  if (question.by === 'form') return formatRoute('query', { form: JSON.stringify(question.query), as });
  // A blank says as much as nothing does, and stays in the address.
  return formatRoute('query', { q: question.expression || ' ', as });
}

/** The call that asks it. */
export function callOf(question: Question, form: Form): CallLike {
  if (question.by === 'form') return { method: 'ITVGuide::queryEventInfo', payload: { query: question.query } };
  const outputFormat = form === 'xml' ? 'quorilxml' : 'quoriljson';
  return { method: 'ITVGuide::query', payload: { expression: question.expression, expressionFormat: 'quoril', outputFormat } };
}
