import type { CallLike } from './callAs';
import type { IconName } from './Icon';

/** How a service is asked for by type in an address, and how its type is drawn and said. */
export interface ServiceType {
  /** In addresses. */
  readonly name: string;
  readonly icon: IconName;
  /** Beside the icon. */
  readonly word: string;
}

/** By `type` of a ServiceInfo. */
const types: Readonly<Record<number, ServiceType>> = {
  1: { name: 'television', icon: 'tv', word: 'TV' },
  2: { name: 'radio', icon: 'radio', word: 'Radio' },
  3: { name: 'data', icon: 'data', word: 'Data' },
};

export const serviceType = (type: number): ServiceType => types[type] ?? { name: '', icon: 'help', word: `Type ${type}` };

/** The type that an address names; undefined for none. */
export function typeNamed(name: string): number | undefined {
  const found = Object.entries(types).find(([, type]) => type.name === name);
  return found && Number(found[0]);
}

/** The call behind useServices(), to be tried elsewhere. */
export const servicesCall: CallLike = { method: 'ITVService::serviceListGet', payload: { limit: 4294967295 } };
