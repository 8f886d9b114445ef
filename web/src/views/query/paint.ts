import type { Expression } from '../../quoril/expression';
import { isField, type Token } from '../../quoril/tokens';

export type Ink = 'plain' | 'field' | 'unknown' | 'number' | 'sign' | 'join' | 'parenthesis' | 'unread';

/** A piece of the text in one colour. */
export interface Piece {
  text: string;
  ink: Ink;
  /** It goes wrong here. At the end of the text this is a piece without a text. */
  isWrong: boolean;
}

function inkOf({ type, text }: Token): Ink {
  switch (type) {
    case 'Identifier':
      return isField(text!) ? 'field' : 'unknown';
    case 'Integer':
      return 'number';
    case 'And':
    case 'Or':
      return 'join';
    case 'LeftParen':
    case 'RightParen':
    case 'Comma':
      return 'parenthesis';
    case 'String':
    case 'Error':
      return 'unread';
    default:
      return 'sign';
  }
}

/** Cuts a text into pieces by what it reads as. Behind what is no token the service reads no further. */
export function paint(text: string, { tokens, mistake }: Expression): Piece[] {
  const pieces: Piece[] = [];
  let end = 0;
  const add = (to: number, ink: Ink, isWrong = false) => {
    if (to > end || isWrong) pieces.push({ text: text.slice(end, to), ink, isWrong });
    end = to;
  };
  for (const token of tokens) {
    add(token.at, 'plain');
    add(token.end, inkOf(token), mistake?.at === token.at);
  }
  add(text.length, 'unread');
  return pieces;
}
