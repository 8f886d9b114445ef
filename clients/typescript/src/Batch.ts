// SPDX-License-Identifier: Apache-2.0

import { type Arguments, Call, type Caller, type CallOptions, type Result } from './call.js';
import type { Methods } from './generated/description.js';
import { ITVConfig, ITVGuide, ITVService } from './generated/interfaces.js';

/** The calls of one message to the service. */
export class Batch implements Caller {
  readonly service = new ITVService(this);
  readonly guide = new ITVGuide(this);
  readonly scan = new ITVConfig(this);
  readonly calls: Call[] = [];

  constructor(private readonly defaults: CallOptions & { timeout: number }) {}

  call<M extends keyof Methods | (string & {})>(method: M, ...more: Arguments<M>): Promise<Result<M>> {
    const [payload, options] = more;
    const call = new Call(method, payload, {
      signal: options?.signal ?? this.defaults.signal,
      timeout: options?.timeout ?? this.defaults.timeout,
      context: options?.context ?? this.defaults.context,
    });
    this.calls.push(call);
    return call.promise as Promise<Result<M>>;
  }
}

/** What makes calls, one or several in a message. */
export interface BatchCaller extends Caller {
  /**
   * Makes several calls in one message, which the service carries out one after another:
   *
   *     const [now, genres] = await tv.batch((b) => [b.service.utcTimeGet(), b.guide.getGenreStringMapList()]);
   *
   * More than a hundred go in several messages.
   *
   * @param build  makes the calls, at once, and returns what they promise
   * @param defaults  options of all those that have none of their own
   * @throws what the first call that fails was rejected with; the others are carried out all the same
   */
  batch<const T extends readonly unknown[]>(
    build: (batch: Batch) => T,
    defaults?: CallOptions,
  ): Promise<{ -readonly [I in keyof T]: Awaited<T[I]> }>;
}
