import type { Node } from '../../quoril/expression';
import { isField } from '../../quoril/tokens';

/** A node as it is shown: what it says, what that means, and what it is made of. */
export interface Branch {
  at: number;
  end: number;
  label: string;
  /** For people: the name of a service, a time; "and" for &&. */
  meaning: string;
  /** A name that is no field. */
  isUnknown: boolean;
  children: Branch[];
}

/** What a number stands for where it is compared with a field; empty where that is not known. */
export type Meaning = (field: string, number: bigint) => string;

const signs = {
  Equal: ['==', 'is'],
  LessThan: ['<', 'less than'],
  LessOrEqual: ['<=', 'at most'],
  GreaterThan: ['>', 'more than'],
  GreaterOrEqual: ['>=', 'at least'],
  And: ['&&', 'both'],
  Or: ['||', 'either'],
  In: ['in', 'one of'],
} as const;

const known = { meaning: '', isUnknown: false };

const fieldOf = (...sides: Node[]) => sides.flatMap((side) => (side.kind === 'Field' ? [side.name] : []))[0];

/** Makes a tree to show. @param field  what its numbers are compared with */
export function grow(node: Node, meaning: Meaning, field?: string): Branch {
  const { at, end } = node;
  switch (node.kind) {
    case 'Field':
      return { at, end, label: node.name, ...(isField(node.name) ? known : { meaning: 'no field', isUnknown: true }), children: [] };
    case 'Literal':
      return { at, end, label: String(node.number), ...known, meaning: field === undefined ? '' : meaning(field, node.number), children: [] };
    case 'List': {
      const children = node.numbers.map((number) => grow(number, meaning, field));
      return { at, end, label: 'list', ...known, meaning: `of ${children.length}`, children };
    }
    default: {
      const [label, said] = signs[node.kind];
      const compared = fieldOf(node.left, node.right);
      const children = [node.left, node.right].map((side) => grow(side, meaning, compared));
      return { at, end, label, ...known, meaning: said, children };
    }
  }
}
