import { isOfType } from './check';
import { resolve, type Schema, type Schemas } from './description';

/** Where a value is in another: names of members and places of elements. */
export type Path = readonly (string | number)[];

/** Which control a value is given by. */
export type Control = 'choice' | 'flag' | 'number' | 'text' | 'list' | 'record' | 'either';

/** What a schema's values are chosen from; undefined where they are not. */
export function choicesOf({ oneOf }: Schema): readonly Schema[] | undefined {
  return oneOf !== undefined && oneOf.every((each) => 'const' in each) ? oneOf : undefined;
}

export function controlOf(schema: Schema): Control {
  if (choicesOf(schema) !== undefined) return 'choice';
  switch (schema.type) {
    case 'boolean':
      return 'flag';
    case 'integer':
    case 'number':
      return 'number';
    case 'array':
      return 'list';
    case 'object':
      return 'record';
  }
  return schema.oneOf !== undefined ? 'either' : 'text';
}

/** The alternative of an `either` that a value is of: the first where it is of none. */
export function alternativeOf({ oneOf = [] }: Schema, value: unknown): number {
  return Math.max(0, oneOf.findIndex(({ type }) => isOfType(value, type)));
}

/** The value at a path; undefined where there is none. */
export function valueAt(value: unknown, path: Path): unknown {
  return path.reduce<unknown>((inner, step) => (inner as Record<string | number, unknown> | undefined)?.[step], value);
}

/** A copy with another value at a path: undefined takes a member or an element away. */
export function withValueAt(value: unknown, path: Path, changed: unknown): unknown {
  const [step, ...rest] = path;
  if (step === undefined) return changed;
  const inner = withValueAt((value as Record<string | number, unknown> | undefined)?.[step], rest, changed);
  if (typeof step === 'number') {
    const list = Array.isArray(value) ? [...(value as unknown[])] : [];
    if (inner === undefined) list.splice(step, 1);
    else list[step] = inner;
    return list;
  }
  const members = { ...(isOfType(value, 'object') ? (value as object) : {}) } as Record<string, unknown>;
  if (inner === undefined) delete members[step];
  else members[step] = inner;
  return members;
}

/** What a typed text is: a number where it is one, nothing where it is empty, and otherwise the text, which check() refuses. */
export function parseNumber(text: string): number | string | undefined {
  if (text.trim() === '') return undefined;
  return /^\s*-?(\d+\.?\d*|\.\d+)(e[+-]?\d+)?\s*$/i.test(text) ? Number(text) : text;
}

/** The least that is a value of a schema, where somebody wants one: its default, its first example or choice, or empty. */
export function startOf(from: Schema, schemas: Schemas): unknown {
  const schema = resolve(from, schemas);
  if (schema.default !== undefined && !Array.isArray(schema.default)) return schema.default;
  if (schema.examples?.[0] !== undefined) return schema.examples[0];
  switch (controlOf(schema)) {
    case 'choice':
      return choicesOf(schema)![0]!.const;
    case 'flag':
      return false;
    case 'number':
      return Math.max(0, schema.minimum ?? 0);
    case 'text':
      return '';
    case 'list':
      return Array.from({ length: Math.max(1, schema.minItems ?? 0) }, () => startOf(schema.items ?? {}, schemas));
    case 'record':
      return Object.fromEntries([...(schema.required ?? []), ...((schema.anyOf ?? schema.oneOf)?.[0]?.required ?? [])].map((name) => [name, startOf(schema.properties?.[name] ?? {}, schemas)]));
    case 'either':
      return startOf(schema.oneOf![0]!, schemas);
  }
}

/** Unit, range and default in one line, of a list those of its elements too: `kHz · 0 to 4294967295 · 0 unless given`. */
export function limitsOf(schema: Schema, items: Schema = {}): string {
  const each = ownLimits(items);
  return [ownLimits(schema), each && `each ${each}`].filter(Boolean).join(' · ');
}

function ownLimits({ minimum = -Infinity, maximum = Infinity, minItems, maxItems, default: usual, 'x-unit': unit }: Schema): string {
  const hasRange = Number.isFinite(minimum) || Number.isFinite(maximum);
  const range = hasRange && `${minimum} to ${maximum}`;
  const size = maxItems !== undefined && (minItems === maxItems ? `${maxItems} of them` : `at most ${maxItems}`);
  const fallback = usual !== undefined && `${JSON.stringify(usual)} unless given`;
  return [unit, range, size, fallback].filter(Boolean).join(' · ');
}

/** Whether a number is a time. */
export const isTime = ({ 'x-unit': unit }: Schema): boolean => unit?.startsWith('s since 1970') ?? false;
