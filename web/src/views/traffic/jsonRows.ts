/** A line of a JSON tree that is on show. */
export interface JsonRow {
  /** Where it is, unique in its tree. */
  path: string;
  depth: number;
  /** The member's name, the element's place or a range of places; empty for the whole and for a piece of a text. */
  label: string;
  kind: 'null' | 'boolean' | 'number' | 'string' | 'array' | 'object' | 'range' | 'piece';
  /** What to show behind the label. */
  text: string;
  /** Whether there is something in it to open. */
  canOpen: boolean;
  isOpen: boolean;
}

/** So many children are shown at once; more come in ranges, that are opened one by one. */
const most = 100;
/** So much of a text stands in a line. */
const line = 120;

const kindOf = (value: unknown): JsonRow['kind'] =>
  value === null ? 'null' : Array.isArray(value) ? 'array' : (typeof value as 'boolean' | 'number' | 'string' | 'object');

/** How many children a value has. */
const sizeOf = (value: unknown): number =>
  typeof value !== 'object' || value === null ? 0 : Array.isArray(value) ? value.length : Object.keys(value).length;

/** How a text begins that is a document in itself. */
const document = /^\s*[[{]/;

/** Documents travel as texts: one that is JSON is opened as such. */
function inside(text: string): unknown {
  if (!document.test(text)) return undefined;
  try {
    return JSON.parse(text) as unknown;
  } catch {
    return undefined;
  }
}

const count = (n: number, what: string) => `${n.toLocaleString('en-GB')} ${what}${n === 1 ? '' : 's'}`;

function textOf(value: unknown, kind: JsonRow['kind']): string {
  if (kind === 'array') return `[ ${count(sizeOf(value), 'element')} ]`;
  if (kind === 'object') return `{ ${count(sizeOf(value), 'member')} }`;
  const text = typeof value === 'string' && value.length > line ? `${value.slice(0, line)}…` : value;
  return JSON.stringify(text);
}

/** Counts the rows that a value takes with all in it open, up to a limit. */
function weigh(value: unknown, limit: number): number {
  let sum = 1;
  if (typeof value === 'object' && value !== null)
    for (const key in value) {
      if (sum >= limit) break;
      sum += weigh((value as Record<string, unknown>)[key], limit - sum);
    }
  return sum;
}

/** What is open at first: level by level, as long as it stays a handful. */
export function openAtFirst(value: unknown, handful = 60): Set<string> {
  const open = new Set<string>();
  let level: [string, unknown][] = [['', value]];
  let left = handful;
  while (level.length > 0 && left > 0) {
    const next: [string, unknown][] = [];
    for (const [path, each] of level) {
      const size = sizeOf(each);
      if (size === 0 || (path !== '' && Math.min(size, weigh(each, left + 1)) > left)) continue;
      open.add(path);
      left -= size;
      if (size <= most) for (const [key, child] of Object.entries(each as object)) next.push([`${path}/${key}`, child]);
    }
    level = next;
  }
  return open;
}

/** The lines of a value, of which those at the paths in `open` show what is in them. */
export function jsonRows(value: unknown, open: ReadonlySet<string>): JsonRow[] {
  const rows: JsonRow[] = [];
  const add = (each: unknown, path: string, label: string, depth: number) => {
    const kind = kindOf(each);
    const canOpen = kind === 'string' ? (each as string).length > line || document.test(each as string) : sizeOf(each) > 0;
    const isOpen = canOpen && open.has(path);
    rows.push({ path, depth, label, kind, text: textOf(each, kind), canOpen, isOpen });
    if (isOpen) children(each, path, depth + 1);
  };
  const children = (parent: unknown, path: string, depth: number) => {
    const value = typeof parent === 'string' ? inside(parent) ?? parent : parent;
    if (typeof value === 'string') return spread(Math.ceil(value.length / line), path, depth, (i) => piece(value, path, depth, i));
    if (Array.isArray(value)) return spread(value.length, path, depth, (i, deep) => add(value[i], `${path}/${i}`, `${i}`, deep));
    const members = Object.entries(value as object);
    spread(members.length, path, depth, (i, deep) => add(members[i]![1], `${path}/${members[i]![0]}`, members[i]![0], deep));
  };
  const piece = (text: string, path: string, depth: number, i: number) =>
    rows.push({ path: `${path}~${i}`, depth, label: '', kind: 'piece', text: text.slice(i * line, (i + 1) * line), canOpen: false, isOpen: false });
  /** Shows so many children; ranges of them where they are too many, and ranges of ranges. */
  const spread = (size: number, path: string, depth: number, show: (i: number, depth: number) => void) => {
    let step = 1;
    while (size / step > most) step *= most;
    const range = (from: number, to: number, step: number, depth: number) => {
      if (step === 1) for (let i = from; i < to; ++i) show(i, depth);
      else
        for (let start = from; start < to; start += step) {
          const end = Math.min(start + step, to);
          const at = `${path}@${start}-${end - 1}`;
          const isOpen = open.has(at);
          rows.push({ path: at, depth, label: `${start} … ${end - 1}`, kind: 'range', text: '', canOpen: true, isOpen });
          if (isOpen) range(start, end, step / most, depth + 1);
        }
    };
    range(0, size, step, depth);
  };
  add(value, '', '', 0);
  return rows;
}

/** Where a key leads in a tree, and what it opens or closes. */
export function moveInTree(rows: readonly JsonRow[], at: number, key: string): { at: number; toggle?: string } | undefined {
  const row = rows[at];
  if (row === undefined) return undefined;
  const stay = (to: number) => (rows[to] === undefined ? undefined : { at: to });
  switch (key) {
    case 'ArrowDown':
      return stay(at + 1);
    case 'ArrowUp':
      return stay(at - 1);
    case 'Home':
      return { at: 0 };
    case 'End':
      return { at: rows.length - 1 };
    case 'ArrowRight':
      if (!row.canOpen) return undefined;
      return row.isOpen ? stay(at + 1) : { at, toggle: row.path };
    case 'ArrowLeft': {
      if (row.isOpen) return { at, toggle: row.path };
      let parent = at;
      while (parent >= 0 && rows[parent]!.depth >= row.depth) --parent;
      return stay(parent);
    }
    case 'Enter':
    case ' ':
      return row.canOpen ? { at, toggle: row.path } : undefined;
  }
  return undefined;
}
