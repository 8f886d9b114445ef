// The words of the query language, as the service reads them: docs/query-language.md. What looks
// like a mistake here is in docs/oddities.md, and tests hold each text's tokens to the module's.

export type TokenType =
  | 'Error' // nothing starts here
  | 'End'
  | 'Integer'
  | 'String'
  | 'Identifier'
  | 'LessThan'
  | 'LessOrEqual'
  | 'GreaterThan'
  | 'GreaterOrEqual'
  | 'Equal'
  | 'And'
  | 'Or'
  | 'LeftParen'
  | 'RightParen'
  | 'Comma'
  | 'In';

export interface Token {
  type: TokenType;
  /** Where it begins, in UTF-16 units as all positions of a page. */
  at: number;
  /** Where it ends. That of an Error is how far it can be seen, not how far the module has read. */
  end: number;
  /** Of an Identifier, and of a String without its quotation marks. */
  text?: string;
  /** Of an Integer: 64 bits with sign. */
  number?: bigint;
}

/** What an expression can ask of an event. */
export const fields = ['ServiceId', 'Start', 'End'] as const;

export function isField(name: string): boolean {
  return (fields as readonly string[]).includes(name);
}

const signs: Record<string, TokenType> = {
  '==': 'Equal',
  '&&': 'And',
  '||': 'Or',
  '<=': 'LessOrEqual',
  '>=': 'GreaterOrEqual',
  '<': 'LessThan',
  '>': 'GreaterThan',
  '(': 'LeftParen',
  ')': 'RightParen',
  ',': 'Comma',
};

// The digit after a minus sign is 0 to 8. Meant so: docs/oddities.md, "Minus nine".
const integer = /\d+|-[0-8]\d*/y;
const identifier = /[A-Za-z_][A-Za-z_0-9]*/y;
const sign = /==|&&|\|\||<=?|>=?|[(),]/y;
const string = /"(?:\\[^]|[^"\\])*"/y;

function match(pattern: RegExp, text: string, at: number): string | undefined {
  pattern.lastIndex = at;
  return pattern.exec(text)?.[0];
}

/** Past 64 bits it starts again. Meant so: docs/oddities.md, "Digits that wrap". */
function wrap(digits: string): bigint {
  let value = 0n;
  for (const digit of digits.replace('-', '')) value = BigInt.asUintN(64, value * 10n + BigInt(digit));
  return BigInt.asIntN(64, digits.startsWith('-') ? -value : value);
}

function tokenAt(text: string, at: number): Token {
  if (at === text.length) return { type: 'End', at, end: at };
  const name = match(identifier, text, at);
  if (name === 'in') return { type: 'In', at, end: at + 2 };
  if (name !== undefined) return { type: 'Identifier', at, end: at + name.length, text: name };
  const digits = match(integer, text, at);
  if (digits !== undefined) return { type: 'Integer', at, end: at + digits.length, number: wrap(digits) };
  const quoted = match(string, text, at);
  // A backslash is an escape before a quotation mark alone: docs/oddities.md, "One escape".
  if (quoted !== undefined)
    return { type: 'String', at, end: at + quoted.length, text: quoted.slice(1, -1).replaceAll('\\"', '"') };
  const found = match(sign, text, at);
  if (found !== undefined) return { type: signs[found]!, at, end: at + found.length };
  const seen = text[at] === '"' ? text.slice(at) : String.fromCodePoint(text.codePointAt(at)!);
  return { type: 'Error', at, end: at + seen.length };
}

/** All tokens of a text up to its End, or to the first Error: the module reads no further either. */
export function readTokens(text: string): Token[] {
  const tokens: Token[] = [];
  for (let at = 0; ; ) {
    while (text[at] === ' ') ++at; // of all white space only the blank is skipped
    const token = tokenAt(text, at);
    tokens.push(token);
    if (token.type === 'End' || token.type === 'Error') return tokens;
    at = token.end;
  }
}
