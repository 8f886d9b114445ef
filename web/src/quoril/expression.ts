// The grammar of the query language, as the service reads it: docs/query-language.md. Nodes are taken
// in the module's order, so that a text goes wrong here where it goes wrong there.

import { isField, readTokens, type Token, type TokenType } from './tokens.js';

/** How many fields, numbers, lists and operators an expression may hold in all. */
export const nodeLimit = 20;

/** How many parentheses may be open at once. */
export const parenthesisLimit = 256;

export type Comparison = 'Equal' | 'LessThan' | 'LessOrEqual' | 'GreaterThan' | 'GreaterOrEqual';

/** A part of an expression, with the piece of the text that it is made of. */
export type Node = { at: number; end: number } & (
  | { kind: Comparison | 'And' | 'Or'; left: Node; right: Node }
  | { kind: 'In'; left: Node; right: ListNode }
  | { kind: 'Field'; name: string }
  | Literal
  | ListNode
);
type Literal = { at: number; end: number; kind: 'Literal'; number: bigint };
type ListNode = { at: number; end: number; kind: 'List'; numbers: Literal[] };

export type Reason =
  | 'NoToken'
  | 'ElementExpected'
  | 'OperatorExpected'
  | 'ListExpected'
  | 'NumberExpected'
  | 'CommaExpected'
  | 'ParenthesisExpected'
  | 'EndExpected'
  | 'TooManyParentheses'
  | 'TooManyNodes';

/** Where a text stops being an expression, and why. At its end nothing stands there: `end` is `at`. */
export interface Mistake {
  at: number;
  end: number;
  reason: Reason;
  /** For people: "a field or a number is expected". */
  explanation: string;
}

export interface Expression {
  tokens: Token[];
  /** How many nodes were taken, up to the mistake if there is one. */
  nodes: number;
  /** Null for the empty expression, which is true of every event, and where there is a mistake. */
  tree: Node | null;
  mistake: Mistake | null;
  /** Names that are no field: an expression with one is valid and finds nothing. */
  unknownFields: string[];
}

const comparisons: readonly TokenType[] = ['Equal', 'LessThan', 'LessOrEqual', 'GreaterThan', 'GreaterOrEqual'];

/** Thrown from where a text goes wrong. */
class Refusal {
  constructor(readonly at: number, readonly reason: Reason) {}
}

class Parser {
  nodes = 0;
  private place = 0;
  private openParentheses = 0;

  constructor(private readonly tokens: readonly Token[]) {}

  parse(): Node | null {
    if (this.is('End')) return null;
    const tree = this.any();
    if (!this.is('End')) throw this.refusal('EndExpected');
    return tree;
  }

  /** Nobody goes on behind the last token, which is an End or an Error. */
  private get current(): Token {
    return this.tokens[this.place]!;
  }

  private is(type: TokenType): boolean {
    return this.current.type === type;
  }

  private advance(): Token {
    return this.tokens[this.place++]!;
  }

  private take(at: number): void {
    if (this.nodes === nodeLimit) throw new Refusal(at, 'TooManyNodes');
    ++this.nodes;
  }

  private refusal(expected: Reason): Refusal {
    return new Refusal(this.current.at, this.is('Error') ? 'NoToken' : expected);
  }

  private openParenthesis(): void {
    if (this.openParentheses === parenthesisLimit) throw this.refusal('TooManyParentheses');
    ++this.openParentheses;
  }

  private any(): Node {
    return this.joined('Or', () => this.joined('And', () => this.comparison()));
  }

  private joined(kind: 'And' | 'Or', operand: () => Node): Node {
    let left = operand();
    while (this.is(kind)) {
      const { at } = this.advance();
      const right = operand();
      this.take(at);
      left = { kind, left, right, at: left.at, end: right.end };
    }
    return left;
  }

  private comparison(): Node {
    if (this.is('LeftParen')) {
      this.openParenthesis();
      const { at } = this.advance();
      const inner = this.any();
      if (!this.is('RightParen')) throw this.refusal('ParenthesisExpected');
      --this.openParentheses;
      return { ...inner, at, end: this.advance().end };
    }
    const left = this.element();
    if (this.is('In')) {
      const { at } = this.advance();
      const right = this.list();
      this.take(at);
      return { kind: 'In', left, right, at: left.at, end: right.end };
    }
    if (!comparisons.includes(this.current.type)) throw this.refusal('OperatorExpected');
    const { at, type } = this.advance();
    const right = this.element();
    this.take(at);
    return { kind: type as Comparison, left, right, at: left.at, end: right.end };
  }

  private list(): ListNode {
    const { at } = this.current;
    this.take(at);
    if (!this.is('LeftParen')) throw this.refusal('ListExpected');
    this.openParenthesis();
    --this.openParentheses; // nothing opens another one in here
    const numbers: Literal[] = [];
    do {
      this.advance();
      if (!this.is('Integer')) throw this.refusal('NumberExpected');
      numbers.push(this.element() as Literal);
    } while (this.is('Comma'));
    if (!this.is('RightParen')) throw this.refusal('CommaExpected');
    return { kind: 'List', numbers, at, end: this.advance().end };
  }

  private element(): Node {
    const { type, at, end, text, number } = this.current;
    if (type !== 'Identifier' && type !== 'Integer') throw this.refusal('ElementExpected');
    this.take(at);
    this.advance();
    return type === 'Identifier' ? { kind: 'Field', name: text!, at, end } : { kind: 'Literal', number: number!, at, end };
  }
}

const explanations: Record<Exclude<Reason, 'NoToken'>, string> = {
  ElementExpected: 'a field or a number is expected',
  OperatorExpected: '==, <, <=, >, >= or in is expected',
  ListExpected: 'a list such as (1000, 1001) is expected',
  NumberExpected: 'a number is expected',
  CommaExpected: ', or ) is expected',
  ParenthesisExpected: '&&, || or ) is expected',
  EndExpected: '&&, || or the end is expected',
  TooManyParentheses: `no more than ${parenthesisLimit} parentheses may be open at once`,
  TooManyNodes: `this is one too many: an expression holds at most ${nodeLimit} fields, numbers, lists and operators`,
};

function explainCharacter(character: string | undefined): string {
  switch (character) {
    case '=':
      return '"=" alone is no operator; == compares';
    case '&':
      return '"&" alone is no operator; && means both';
    case '|':
      return '"|" alone is no operator; || means either';
    case '-':
      return 'a digit from 0 to 8 is expected behind the minus sign';
    case '"':
      return 'the text in quotation marks has no end';
    case '\t':
    case '\n':
    case '\r':
      return 'only blanks may stand between words, no tabs and line breaks';
    case '!':
      return 'there is no "not" in the query language';
    default:
      return 'the query language does not have this character';
  }
}

/** Reads a text as the service would. */
export function parse(text: string): Expression {
  const tokens = readTokens(text);
  const parser = new Parser(tokens);
  const names = tokens.flatMap((token) => (token.type === 'Identifier' ? [token.text!] : []));
  const unknownFields = [...new Set(names)].filter((name) => !isField(name));
  try {
    const tree = parser.parse();
    return { tokens, nodes: parser.nodes, tree, mistake: null, unknownFields };
  } catch (refusal) {
    if (!(refusal instanceof Refusal)) throw refusal;
    const { at, reason } = refusal;
    const explanation = reason === 'NoToken' ? explainCharacter(text[at]) : explanations[reason];
    const { end } = tokens.find((token) => token.at === at)!;
    return { tokens, nodes: parser.nodes, tree: null, mistake: { at, end, reason, explanation }, unknownFields };
  }
}
