// SPDX-License-Identifier: Apache-2.0

/** What a value has to be: the name of a kind, of several with `|` between them, `[each]` of an array, or the
 * members that a record has at least. */
export type Shape = string | readonly [Shape] | { readonly [member: string]: Shape };

const kindOf = (value: unknown) => (value === null ? 'null' : Number.isInteger(value) ? 'integer' : typeof value);

const fits = (kind: string, shape: string) =>
  kind === shape || shape.split('|').some((each) => each === kind || (each === 'number' && kind === 'integer'));

/** Returns the path of what is not of its shape, such as `[3].title`, and undefined where all is. */
export function findMisfit(value: unknown, shape: Shape): string | undefined {
  if (typeof shape === 'string') return fits(kindOf(value), shape) ? undefined : '';
  if (typeof value !== 'object' || value === null || Array.isArray(value) !== Array.isArray(shape)) return '';
  if (Array.isArray(value)) {
    const [each] = shape as readonly [Shape];
    for (let i = 0; i < value.length; ++i) {
      const inner = findMisfit(value[i], each);
      if (inner !== undefined) return `[${i}]${inner}`;
    }
  } else {
    for (const member in shape) {
      const inner = findMisfit((value as any)[member], (shape as any)[member]);
      if (inner !== undefined) return `.${member}${inner}`;
    }
  }
  return undefined;
}
