import type { CallLike } from '../../parts/callAs';
import type { Deed } from '../../parts/done';

/** What this page does to the scan and the transponder list, and how people would do the same from a shell. */
export interface ScanAction extends CallLike, Deed {}

/** A tuner by a number of one's own choice: the service has one. */
const sourceId = 0;

export const scanBand: ScanAction = {
  method: 'ITVConfig::scanBlindStart',
  payload: { sourceId, useNIT: 0 },
  says: 'The whole band is searched.',
  command: 'ostrel-tv scan blind',
};

export const scanTransponders: ScanAction = {
  method: 'ITVConfig::scanStart',
  payload: { sourceId, useNIT: 0 },
  says: 'The transponder list is searched.',
  command: 'ostrel-tv scan start',
};

export const stopScan: ScanAction = {
  method: 'ITVConfig::scanStop',
  payload: { sourceId },
  says: 'The scan is stopped; what it has found stays.',
  command: 'ostrel-tv scan stop',
};

export const addTransponder = (frequencyKHz: number): ScanAction => ({
  method: 'ITVConfig::transponderListAdd',
  payload: { sourceId, tuningParams: { frequencyKHz } },
  says: `${Math.floor(frequencyKHz / 1000)} MHz is in the transponder list.`,
  command: `ostrel-tv transponders add --khz ${frequencyKHz}`,
});

export const clearLists: ScanAction = {
  method: 'ITVConfig::transponderListDeleteAll',
  payload: { sourceId },
  says: 'The transponder list and the channel list are empty.',
  command: 'ostrel-tv transponders clear --yes',
};
