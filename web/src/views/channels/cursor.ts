import type { ServiceInfo } from '@ostrel/tv';
import type { CallLike } from '../../parts/callAs';

/** The box's lists: all services, and those that the latest scan has added. */
export type Base = 'all' | 'new';

/** The methods that use the cursor, without their interface. */
export interface Payloads {
  serviceListSet: { base: Base };
  serviceListSeek: { offset: number; whence: number };
  serviceListSeekByChannelNumber: { channelNumber: number };
  serviceListSeekByUri: { uri: string };
  serviceListGet: { limit: number };
  serviceListRead: { limit: number };
  serviceListDelete: undefined;
}
export type Operation = { [Name in keyof Payloads]: { name: Name; payload: Payloads[Name] } }[keyof Payloads];

/** What an operation came to. */
export interface Outcome {
  readonly number: number;
  readonly operation: Operation;
  readonly base: Base;
  /** Where the cursor stood, and stands. */
  readonly before: number;
  readonly after: number;
  /** What was answered; undefined where it was refused. */
  readonly result?: unknown;
  readonly error?: Error;
}

export const callOf = ({ name, payload }: Operation): CallLike =>
  ({ method: `ITVService::${name}`, ...(payload !== undefined && { payload }) });

/** Where the cursor stands when an operation has answered. One that is refused leaves it alone. */
export function moved(position: number, { name }: Operation, result: unknown): number {
  switch (name) {
    case 'serviceListSet':
      return 0;
    case 'serviceListSeek':
    case 'serviceListSeekByChannelNumber':
    case 'serviceListSeekByUri':
      return result as number;
    case 'serviceListRead':
      return position + (result as ServiceInfo[]).length;
    case 'serviceListGet':
    case 'serviceListDelete':
      return position;
  }
}

/** The services that an operation has given. */
export const given = ({ operation, result }: Outcome): readonly ServiceInfo[] =>
  operation.name === 'serviceListGet' || operation.name === 'serviceListRead' ? ((result as ServiceInfo[] | undefined) ?? []) : [];

/** Whether the limit and the cursor together are more than 32 bits hold. */
export const isWrapped = ({ operation: { name, payload }, before }: Outcome): boolean =>
  (name === 'serviceListGet' || name === 'serviceListRead') && before + payload.limit > 4294967295;

function tellServices(outcome: Outcome): string {
  const { operation, before, after } = outcome;
  const { length } = given(outcome);
  if (length === 0 && isWrapped(outcome)) return 'nothing; the limit has wrapped';
  if (length === 0) return (operation.payload as { limit: number }).limit === 0 ? 'nothing was asked for' : 'nothing; the cursor is at the end';
  const services = length === 1 ? '1 service' : `${length} services`;
  return `${services}; the cursor ${operation.name === 'serviceListRead' ? `goes from ${before} to ${after}` : `stays at ${after}`}`;
}

/** What an operation came to, in words. */
export function tell(outcome: Outcome): string {
  const { operation, before, after, error } = outcome;
  if (error !== undefined) return `refused; the cursor stays at ${after}`;
  switch (operation.name) {
    case 'serviceListSet':
      return 'selected; the cursor is at its start';
    case 'serviceListGet':
    case 'serviceListRead':
      return tellServices(outcome);
    case 'serviceListDelete':
      return `deleted; the cursor stays at ${after}, where the next one is now`;
    default:
      return before === after ? 'the cursor was there' : `the cursor comes from ${before}`;
  }
}

/** Whether an operation shows, or means, that a list is not what it was when it was last asked for. */
export function isOutdated(services: readonly ServiceInfo[], outcome: Outcome): boolean {
  const { operation, before, after, error } = outcome;
  if (error !== undefined || operation.name === 'serviceListDelete') return true;
  const { name, payload } = operation;
  if (name === 'serviceListSeek') return payload.whence === 2 && after !== services.length + payload.offset;
  if (name === 'serviceListSeekByUri') return services[after]?.uri !== payload.uri;
  if (name === 'serviceListSeekByChannelNumber') return services[after]?.channelNumber !== payload.channelNumber;
  if (name === 'serviceListSet') return false;
  const found = given(outcome);
  const isAtEnd = found.length < payload.limit && !isWrapped(outcome);
  return (isAtEnd && before + found.length < services.length) || found.some(({ uri }, i) => services[before + i]?.uri !== uri);
}
