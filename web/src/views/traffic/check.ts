import { resolve, type Schema, type Schemas } from './description';

/** What is wrong with a value, and where: `query.timeRange.base`, empty for the whole. */
export interface Problem {
  path: string;
  text: string;
}

const kinds: Readonly<Record<string, string>> = {
  integer: 'a whole number',
  number: 'a number',
  string: 'a text',
  boolean: 'true or false',
  array: 'a list',
  object: 'an object',
  null: 'null',
};

/** Whether a value is of the kind that a schema names. */
export function isOfType(value: unknown, type: string | undefined): boolean {
  switch (type) {
    case undefined:
      return true;
    case 'integer':
      return Number.isInteger(value);
    case 'array':
      return Array.isArray(value);
    case 'null':
      return value === null;
    case 'object':
      return typeof value === 'object' && value !== null && !Array.isArray(value);
  }
  return typeof value === type;
}

const isEqual = (one: unknown, other: unknown) => JSON.stringify(one) === JSON.stringify(other);
const names = (list: readonly string[]) => list.map((name) => `“${name}”`).join(', ');
const isTerm = (schema: Schema) => 'const' in schema;

export const pathTo = (path: string, member: string | number): string =>
  typeof member === 'number' ? `${path}[${member}]` : path === '' ? member : `${path}.${member}`;

/** Returns what of a value is not as its schema wants it; nothing where all is. */
export function check(from: Schema, value: unknown, schemas: Schemas, path = ''): Problem[] {
  const schema = resolve(from, schemas);
  const wrong = (text: string): Problem[] => [{ path, text }];
  if (!isOfType(value, schema.type)) return wrong(`wants ${kinds[schema.type!]}`);
  if (isTerm(schema) && !isEqual(value, schema.const)) return wrong(`wants ${JSON.stringify(schema.const)}`);
  return [
    ...(typeof value === 'number' ? checkNumber(schema, value).flatMap(wrong) : []),
    ...(typeof value === 'string' ? checkText(schema, value).flatMap(wrong) : []),
    ...(Array.isArray(value) ? checkList(schema, value, schemas, path) : []),
    ...(isOfType(value, 'object') ? checkRecord(schema, value as Record<string, unknown>, schemas, path) : []),
    ...checkTogether(schema, value, schemas, path),
  ];
}

function checkNumber({ minimum = -Infinity, maximum = Infinity }: Schema, value: number): string[] {
  return value < minimum || value > maximum ? [`wants ${minimum} to ${maximum}`] : [];
}

function checkText({ minLength = 0, pattern }: Schema, value: string): string[] {
  if ([...value].length < minLength) return [minLength === 1 ? 'must not be empty' : `wants ${minLength} characters or more`];
  return pattern !== undefined && !new RegExp(pattern, 'u').test(value) ? [`wants the form ${pattern}`] : [];
}

function checkList({ items, minItems = 0, maxItems = Infinity, 'x-ascending': isAscending }: Schema, value: unknown[], schemas: Schemas, path: string): Problem[] {
  const problems: Problem[] = [];
  if (value.length < minItems) problems.push({ path, text: `wants ${minItems} elements or more` });
  if (value.length > maxItems) problems.push({ path, text: `wants ${maxItems} elements or fewer` });
  if (items !== undefined) value.forEach((each, i) => problems.push(...check(items, each, schemas, pathTo(path, i))));
  if (isAscending && value.some((each, i) => i > 0 && (each as number) < (value[i - 1] as number)))
    problems.push({ path, text: 'wants the least first' });
  return problems;
}

function checkRecord({ properties = {}, required = [], additionalProperties }: Schema, value: Record<string, unknown>, schemas: Schemas, path: string): Problem[] {
  const problems: Problem[] = [];
  for (const name of required) if (value[name] === undefined) problems.push({ path: pathTo(path, name), text: 'is needed' });
  for (const [name, member] of Object.entries(value)) {
    if (member === undefined) continue;
    const schema = Object.hasOwn(properties, name) ? properties[name] : undefined;
    if (schema !== undefined) problems.push(...check(schema, member, schemas, pathTo(path, name)));
    else if (additionalProperties === false) problems.push({ path: pathTo(path, name), text: 'has no such name; is it misspelt?' });
  }
  return problems;
}

/** Members that some alternatives want. */
const wanted = (alternatives: readonly Schema[]) => names(alternatives.flatMap(({ required = [] }) => required));

function checkTogether(schema: Schema, value: unknown, schemas: Schemas, path: string): Problem[] {
  const wrong = (text: string): Problem[] => [{ path, text }];
  const fits = (other: Schema) => check(other, value, schemas, path).length === 0;
  const { oneOf, anyOf, not } = schema;
  const problems: Problem[] = [];
  if (oneOf !== undefined && oneOf.filter(fits).length !== 1) problems.push(...explain(oneOf, value, schemas, path));
  if (anyOf !== undefined && !anyOf.some(fits)) problems.push(...wrong(`wants at least one of ${wanted(anyOf)}`));
  if (not !== undefined && fits(not)) problems.push(...wrong(`cannot have ${wanted([not, ...(not.anyOf ?? [])])} here`));
  const then = schema.if === undefined ? undefined : fits(schema.if) ? schema.then : schema.else;
  if (then !== undefined) problems.push(...check(then, value, schemas, path));
  return problems;
}

/** Says why none of some alternatives is met, or more than one. */
function explain(oneOf: readonly Schema[], value: unknown, schemas: Schemas, path: string): Problem[] {
  if (oneOf.every(isTerm)) return [{ path, text: `wants ${oneOf.map((each) => JSON.stringify(each.const)).join(' or ')}` }];
  if (oneOf.every(({ type }) => type === undefined)) return [{ path, text: `wants one of ${wanted(oneOf)}, and no other of them` }];
  const near = oneOf.find(({ type }) => isOfType(value, type));
  if (near !== undefined) return check(near, value, schemas, path);
  return [{ path, text: `wants ${oneOf.map(({ type }) => kinds[type!]).join(' or ')}` }];
}
