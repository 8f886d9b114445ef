import type { Message as Passed } from '@ostrel/tv/simulator';

/** A message that has passed at the server TV, as the simulator tells it or as the page has seen it itself. */
export interface Message extends Passed {
  /** How many before it were not told. */
  missed?: number;
}

/** What has become of a call: it went well, failed, may still be answered, will not be, or wanted no answer. */
export type Outcome =
  | { kind: 'ok' | 'waiting' | 'no reply' | 'not asked' }
  | { kind: 'error'; name: string; code: number | undefined };

/** Errors of JSON-RPC and of the platform, which have no name on the wire. */
const names: Readonly<Record<number, string>> = {
  [-32700]: 'ParseError',
  [-32600]: 'InvalidRequest',
  [-32601]: 'MethodNotFound',
  [-32602]: 'InvalidParams',
  [-32603]: 'InternalError',
  [-32001]: 'ReplyTooLarge',
};

/** How a reply of the service begins, up to what tells the two kinds apart: the rest may be megabytes. */
const head = /^\{"jsonrpc":"2\.0","id":(?:null|-?[\d.eE+-]+|"(?:[^"\\]|\\.)*"),"(result|error)":/;

/** Reads a reply's outcome from its text, which may be cut. */
export function outcomeOf(text: string): Outcome {
  if (head.exec(text)?.[1] === 'result') return { kind: 'ok' };
  try {
    const { error } = JSON.parse(text) as { error?: { code?: number; data?: { name?: string } } };
    if (error == null) return { kind: 'ok' };
    return { kind: 'error', name: error.data?.name ?? names[error.code ?? 0] ?? 'Error', code: error.code };
  } catch {
    return { kind: 'error', name: 'Error', code: undefined };
  }
}

/** Whether somebody would want to know: it failed, or nobody answered. */
export const isTrouble = ({ kind }: Outcome): boolean => kind === 'error' || kind === 'no reply';

/** One word for people. */
export const wordOf = (outcome: Outcome): string =>
  outcome.kind === 'error' ? outcome.name : { ok: 'ok', waiting: 'waiting', 'no reply': 'no reply', 'not asked': 'not wanted' }[outcome.kind];

const encoder = new TextEncoder();

/** Whether only the beginning of it is there. */
export const isCut = ({ text, bytes }: Message): boolean => bytes > text.length && encoder.encode(text).length < bytes;

/** Where a message begins to say something: its payload, its params, its result or its error. */
const saying = /"(?:payload|result|error)":|"params":(?!\{(?:"context":\d+|"payload"))/;

/** The beginning of what a message says, for one line. */
export function gist(text: string, most = 160): string {
  const found = saying.exec(text.slice(0, 1024));
  if (found === null) return '';
  const said = text.slice(found.index + found[0].length, found.index + found[0].length + most);
  const closing = text.length <= found.index + found[0].length + most ? (found[0].startsWith('"payload') ? 2 : 1) : 0;
  return closing === 0 ? `${said}…` : said.slice(0, -closing);
}

/** What a request asks for: its payload, or its params where it has no context. */
export function askedOf(text: string): { payload?: unknown; context?: number } | undefined {
  try {
    const { method, params } = JSON.parse(text) as { method?: string; params?: { context?: number; payload?: unknown } };
    if (typeof method !== 'string') return undefined;
    if (typeof params !== 'object' || params === null || !('context' in params || 'payload' in params))
      return params === undefined ? {} : { payload: params };
    const { context, payload } = params;
    return { ...(context !== undefined && { context }), ...(payload !== undefined && { payload: whole(payload) }) };
  } catch {
    return undefined;
  }
}

/** Older clients send the text of an object in its place. */
function whole(payload: unknown): unknown {
  if (typeof payload !== 'string') return payload;
  try {
    return JSON.parse(payload) as unknown;
  } catch {
    return payload;
  }
}
