// SPDX-License-Identifier: Apache-2.0

import type { BatchCaller } from './Batch.js';
import type { CallOptions } from './call.js';
import type { EventInfo, ServiceInfo, ServiceListSetPayload } from './generated/description.js';
import { ITVService } from './generated/interfaces.js';

/** More services than any list has. */
const everything = 4294967295;

/** The channels, what is on them, and the time: the methods of `ITVService`, and what is mostly wanted of them. */
export class Service extends ITVService<BatchCaller> {
  /**
   * All services of a list: `all` by channel number, or those that the latest scan has added, `new`.
   *
   * The context's cursor then stands at the start of that list.
   */
  async list({ base }: ServiceListSetPayload = { base: 'all' }, options?: CallOptions): Promise<ServiceInfo[]> {
    const [, services] = await this.tv.batch(
      (batch) => [batch.service.serviceListSet({ base }), batch.service.serviceListGet({ limit: everything })],
      options,
    );
    return services;
  }

  /**
   * What is on a service, and what begins at the second when that ends. Neither when nothing is on the air,
   * even if something is about to start.
   *
   * @param id  the service's number in the guide: `id` of a `ServiceInfo`
   */
  async nowNext(id: number, options?: CallOptions): Promise<{ now?: EventInfo; next?: EventInfo }> {
    const [now, next] = await this.tv.call('ITVGuide::queryNowNextEventInfo', { id }, options);
    return { ...(now && { now }), ...(next && { next }) };
  }
}
