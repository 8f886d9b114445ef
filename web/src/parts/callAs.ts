/** A call as it is written in several languages, for people to take along. */
export interface CallTexts {
  curl: string;
  typescript: string;
  cpp: string;
  tool: string;
}

/** What is called: a method by its full name and, but where it takes none, its payload or params. */
export interface CallLike {
  method: string;
  payload?: unknown;
}

/** How the words of CallTexts are said to people, in the order in which they are offered. */
export const languages: readonly (readonly [keyof CallTexts, string])[] = [
  ['curl', 'curl'],
  ['typescript', 'TypeScript'],
  ['cpp', 'C++'],
  ['tool', 'ostrel-tv'],
];

const callers: Readonly<Record<string, string>> = {
  ITVService: 'tv.service',
  ITVConfig: 'tv.scan',
  ITVGuide: 'tv.guide',
  Simulator: 'simulator',
};

/** A text as one word of a shell. */
export const quote = (text: string): string => (/^[\w./:=@%+-]+$/.test(text) ? text : `'${text.replaceAll("'", "'\\''")}'`);

const rawString = (text: string): string => {
  let mark = '';
  while (text.includes(`)${mark}"`)) mark += '_';
  return `R"${mark}(${text})${mark}"`;
};

/** A value as TypeScript: like JSON, with bare names of members and single quotes. */
export function literal(value: unknown): string {
  if (typeof value === 'string') {
    const text = JSON.stringify(value);
    return text.includes("'") ? text : `'${text.slice(1, -1).replaceAll('\\"', '"')}'`;
  }
  if (Array.isArray(value)) return `[${value.map(literal).join(', ')}]`;
  if (typeof value !== 'object' || value === null) return JSON.stringify(value) ?? 'undefined';
  const members = Object.entries(value).filter(([, member]) => member !== undefined);
  if (members.length === 0) return '{}';
  const name = (key: string) => (/^[A-Za-z_$][\w$]*$/.test(key) ? key : literal(key));
  return `{ ${members.map(([key, member]) => `${name(key)}: ${literal(member)}`).join(', ')} }`;
}

const contextless = (method: string) => /^(rpc\.|Simulator::)|::createContext$/.test(method);

/** @param token  whether the service wants one; it is never in the text itself */
function curl({ method, payload }: CallLike, origin: string, token: boolean): string {
  const server = method.startsWith('Simulator::') ? 'Simulator' : 'TV';
  const command = `curl -s ${token ? '--oauth2-bearer "$OSTREL_TOKEN" ' : ''}--json`;
  const where = `${origin}/rpc/${server}`;
  const send = (request: object) => `${command} ${quote(JSON.stringify(request))} ${where}`;
  if (contextless(method)) return send({ jsonrpc: '2.0', id: 1, method, params: payload });
  const context = send({ jsonrpc: '2.0', id: 1, method: 'ITVService::createContext' });
  const request = JSON.stringify({ jsonrpc: '2.0', id: 2, method, params: { context: 0, payload } });
  const call = `${command} ${quote(request).replace('"context":0', `"context":'$CTX'`)} ${where}`;
  return `CTX=$(${context} | jq .result)\n${call}`;
}

function typescript({ method, payload }: CallLike): string {
  const [owner = '', name = ''] = method.split('::');
  const caller = callers[owner];
  const text = payload === undefined ? '' : literal(payload);
  if (caller === undefined) return `await tv.call(${literal(method)}${text && `, ${text}`});`;
  return `await ${caller}.${name}(${text});`;
}

function cpp({ method, payload }: CallLike): string {
  const call = contextless(method) ? 'request' : 'call';
  return `client.${call}("${method}"${payload === undefined ? '' : `, ${rawString(JSON.stringify(payload))}`});`;
}

function tool({ method, payload }: CallLike): string {
  return `ostrel-tv call ${method}${payload === undefined ? '' : ` ${quote(JSON.stringify(payload))}`}`;
}

/** @param origin  where the service is, such as `http://127.0.0.1:8480` */
export function callAs(call: CallLike, origin: string, token = false): CallTexts {
  return { curl: curl(call, origin, token), typescript: typescript(call), cpp: cpp(call), tool: tool(call) };
}
