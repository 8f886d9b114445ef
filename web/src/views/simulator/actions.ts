import type { CountedRule, Rule, Weather } from '@ostrel/tv/simulator';
import type { CallLike } from '../../parts/callAs';
import { quote } from '../../parts/callAs';
import type { Deed } from '../../parts/done';
import { formatSpan, type Seconds } from '../../parts/time';
import { bare, effectText } from './rule';

/** A call of the simulator, and how people would do the same from a shell. */
export interface Action extends CallLike, Deed {}

/** A time as the command line takes it. */
const moment = (time: Seconds) => `${new Date(time * 1000).toISOString().slice(0, 19)}Z`;

export const hold: Action = {
  method: 'Simulator::clockSet',
  payload: { speed: 0 },
  says: 'The clock stands still.',
  command: 'ostrel-tv clock hold',
};

export const run: Action = {
  method: 'Simulator::clockSet',
  payload: { speed: 1 },
  says: 'The clock runs as usual.',
  command: 'ostrel-tv clock run',
};

export const setSpeed = (speed: number): Action => ({
  method: 'Simulator::clockSet',
  payload: { speed },
  says: speed === 0 ? hold.says : `The clock runs at × ${speed}.`,
  command: `ostrel-tv clock speed ${speed}`,
  kind: 'speed',
});

/** @param shown  the time as people read it */
export const setTime = (now: Seconds, shown: string): Action => ({
  method: 'Simulator::clockSet',
  payload: { now },
  says: `The clock was set to ${shown}.`,
  command: `ostrel-tv clock set ${moment(now)}`,
  kind: 'time',
});

export const step = (seconds: number): Action => ({
  method: 'Simulator::clockStep',
  payload: { seconds },
  says: `${formatSpan(seconds)} passed.`,
  command: `ostrel-tv clock step ${seconds}s`,
});

/** @param service  any, where it is undefined; @param before  seconds */
export const stepToNext = (service: { id: number; name: string } | undefined, before: number): Action => ({
  method: 'Simulator::clockStep',
  payload: { toNextStart: { ...(service !== undefined && { serviceId: service.id }), ...(before > 0 && { before }) } },
  says: `${before > 0 ? `${formatSpan(before)} before the next start` : 'At the next start'}${service === undefined ? '' : ` on ${service.name}`}.`,
  command: ['ostrel-tv clock step next', service && `--service ${service.id}`, before > 0 && `--before ${before}s`].filter(Boolean).join(' '),
});

/** What `ostrel-tv weather add` is given for a rule. */
function optionsOf(rule: Rule): string {
  const { method, notifications, after, times, probability, delayMs, error, drop } = bare(rule);
  const options: [string, string | number | undefined][] = [
    ['--method', method === undefined ? undefined : quote(method)],
    ['--delay', Array.isArray(delayMs) ? delayMs.join('-') : delayMs],
    ['--error', error],
    ['--drop', drop],
    ['--after', after],
    ['--times', times],
    ['--probability', probability],
  ];
  const given = options.filter(([, value]) => value !== undefined).map((option) => option.join(' '));
  return [notifications && '--notifications', ...given].filter(Boolean).join(' ');
}

/** Puts a rule behind those that are there; the dice go on from the same seed. */
export const addRule = ({ rules, seed }: Weather, rule: Rule): Action => ({
  method: 'Simulator::weatherSet',
  payload: { rules: [...rules, rule].map(bare), seed },
  says: `${rule.method ?? (rule.notifications ? 'Every notification' : 'Every call')}: ${effectText(rule)}.`,
  command: `ostrel-tv weather add ${optionsOf(rule)}`,
});

export const clearWeather: Action = {
  method: 'Simulator::weatherSet',
  payload: { rules: [] },
  says: 'All clear: there are no rules.',
  command: 'ostrel-tv weather clear',
};

/** Puts these rules in place of those that are there; all counts begin anew. */
export function setRules(rules: readonly (Rule | CountedRule)[], seed: number, says: string): Action {
  if (rules.length === 0) return clearWeather;
  const payload = { rules: rules.map(bare), seed };
  return { method: 'Simulator::weatherSet', payload, says, command: `echo ${quote(JSON.stringify(payload))} | ostrel-tv weather set -` };
}

export const removeRule = ({ rules, seed }: Weather, place: number): Action =>
  setRules(rules.filter((_, other) => other !== place), seed, 'The rule is gone; the others count anew.');

export const setSignal = (strength: number, quality: number): Action => ({
  method: 'Simulator::signalSet',
  payload: { strength, quality },
  says: `Signal: strength ${strength}, quality ${quality}.`,
  command: `ostrel-tv signal set --strength ${strength} --quality ${quality}`,
  kind: 'signal',
});

export const resetAll: Action = {
  method: 'Simulator::reset',
  says: 'All is as at the start.',
  command: 'ostrel-tv reset',
};
