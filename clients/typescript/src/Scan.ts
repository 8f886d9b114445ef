// SPDX-License-Identifier: Apache-2.0

import type { CallOptions } from './call.js';
import { ServiceError } from './errors.js';
import type { ScanInfo } from './generated/description.js';
import { ITVConfig } from './generated/interfaces.js';

/** A tuner by a number of one's own choice: the box has one. */
const sourceId = 0;

/** The search for channels: the methods of `ITVConfig`, and what is mostly wanted of them. There is one scan in
 * the box, and everybody hears of it and may stop it. */
export class Scan extends ITVConfig {
  /**
   * Starts a scan over the whole band, or over the transponders of the list. `scanStart` and `scanProgress` are
   * told before this is done, `scanComplete` at the end.
   *
   * @throws {ServiceError} `NotSupported`: a scan is running already
   */
  async start({ over = 'band' }: { over?: 'band' | 'transponders' } = {}, options?: CallOptions): Promise<void> {
    const payload = { sourceId, useNIT: 0 };
    await (over === 'band' ? this.scanBlindStart(payload, options) : this.scanStart(payload, options));
  }

  /** Stops the scan, whoever started it; what it has found stays. Gives whether one was running. */
  stop(options?: CallOptions): Promise<boolean> {
    return this.scanStop({ sourceId }, options);
  }

  /** How the scan that runs stands, or the latest; undefined when there has been none. */
  async info(options?: CallOptions): Promise<ScanInfo | undefined> {
    try {
      return await this.scanInfoGet({ sourceId }, options);
    } catch (error) {
      if (error instanceof ServiceError && error.name === 'InvalidState') return undefined;
      throw error;
    }
  }

  /** Adds a transponder for scans over the list to visit. @param frequencyKHz  taken down to whole MHz */
  async addTransponder(frequencyKHz: number, options?: CallOptions): Promise<void> {
    await this.transponderListAdd({ sourceId, tuningParams: { frequencyKHz } }, options);
  }
}
