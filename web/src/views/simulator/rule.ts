import type { CountedRule, Drop, ResultCodeName, Rule } from '@ostrel/tv/simulator';

export const errors: readonly ResultCodeName[] = [
  'NotSupported', 'TimedOut', 'InvalidState', 'InvalidParameter', 'OutOfMemory', 'GenericFailure',
];

/** What can get lost of a call, and of a notification. */
export const drops: Readonly<Record<'call' | 'notification', readonly (readonly [Drop, string])[]>> = {
  call: [['reply', 'lose the reply'], ['request', 'lose the request'], ['connection', 'cut the connection']],
  notification: [['notification', 'lose it']],
};

const lost: Readonly<Record<Drop, string>> = {
  reply: 'reply lost',
  request: 'request lost',
  connection: 'connection cut',
  notification: 'lost',
};

/** What happens: `200 to 800 ms late, fails with TimedOut`. */
export function effectText({ delayMs, error, drop }: Rule): string {
  const delay = Array.isArray(delayMs) ? `${delayMs[0]} to ${delayMs[1]} ms late` : delayMs !== undefined && `${delayMs} ms late`;
  return [delay, error !== undefined && `fails with ${error}`, drop !== undefined && lost[drop]].filter(Boolean).join(', ');
}

/** How often: `after 2, once, 10 %`; `always` where nothing holds it back. */
export function whenText({ after = 0, times, probability = 1 }: Rule): string {
  const parts = [
    after > 0 && `after ${after}`,
    times !== undefined && (times === 1 ? 'once' : `${times} times`),
    probability < 1 && `${Number((probability * 100).toPrecision(6))} %`,
  ];
  return parts.filter(Boolean).join(', ') || 'always';
}

/** Whether it has done its part, and lets everything pass from now on. */
export const isSpent = ({ times, applied }: CountedRule): boolean => times !== undefined && applied >= times;

/** A rule without its counts and without what would hold anyway. */
export function bare(rule: Rule | CountedRule): Rule {
  const { method = '*', notifications = false, after = 0, times, probability = 1, delayMs, error, drop } = rule;
  return {
    ...(method !== '*' && { method }),
    ...(notifications && { notifications }),
    ...(after > 0 && { after }),
    ...(times !== undefined && { times }),
    ...(probability !== 1 && { probability }),
    ...(delayMs !== undefined && { delayMs }),
    ...(error !== undefined && { error }),
    ...(drop !== undefined && { drop }),
  };
}

export const isSame = (one: Rule, other: Rule): boolean => JSON.stringify(bare(one)) === JSON.stringify(bare(other));

/** Bad weather that everybody wants to see once. */
export const presets: readonly (readonly [name: string, rule: Rule])[] = [
  ['Slow backend', { delayMs: [500, 2000] }],
  ['One in ten fails', { probability: 0.1, error: 'GenericFailure' }],
  ['Scan notifications lost', { method: 'ITVConfig::onScan*', notifications: true, drop: 'notification' }],
  ['Cut the connection after the next call', { times: 1, drop: 'connection' }],
  ['Tuner busy', { method: 'ITVConfig::scan*Start', error: 'NotSupported' }],
];

/** A rule as it stands in the form. */
export interface Draft {
  for: 'call' | 'notification';
  method: string;
  /** Milliseconds; empty where it is not late, `most` also where it is always the same. */
  least: string;
  most: string;
  /** An error's name, a drop, or empty. */
  outcome: ResultCodeName | Drop | '';
  after: string;
  times: string;
  percent: string;
}

export const emptyDraft: Draft = { for: 'call', method: '*', least: '', most: '', outcome: '', after: '', times: '', percent: '' };

const isError = (outcome: string): outcome is ResultCodeName => errors.some((name) => name === outcome);

/** Makes a rule of what stands in the form, or says what is missing. */
export function ruleOf(draft: Draft): { rule: Rule } | { lacks: string } {
  const { method, least, most, outcome, after, times, percent } = draft;
  if (least === '' && most !== '') return { lacks: 'The shortest delay is missing.' };
  if (least === '' && outcome === '') return { lacks: 'Choose what is to happen: a delay, an error or a loss.' };
  if (most !== '' && Number(most) < Number(least)) return { lacks: 'The longest delay is shorter than the shortest.' };
  const delay = most === '' || most === least ? Number(least) : ([Number(least), Number(most)] as [number, number]);
  const rule = bare({
    method: method.trim() || '*',
    notifications: draft.for === 'notification',
    after: Number(after),
    ...(times !== '' && { times: Number(times) }),
    probability: percent === '' ? 1 : Number(percent) / 100,
    ...(least !== '' && { delayMs: delay }),
    ...(isError(outcome) ? { error: outcome } : outcome !== '' && { drop: outcome }),
  });
  return { rule };
}
