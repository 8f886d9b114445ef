// SPDX-License-Identifier: Apache-2.0

export type { Answer } from './Entry.js';
export {
  type ClockReading,
  type ScanAnswer,
  useCall,
  useClock,
  useConnection,
  useGuideWindow,
  useNowNext,
  useScan,
  useServices,
  useTv,
} from './hooks.js';
export type { ConnectionStatus, NowNext } from './Store.js';
export { TvProvider } from './TvProvider.js';
