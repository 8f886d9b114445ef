// SPDX-License-Identifier: Apache-2.0

export type { Batch, BatchCaller } from './Batch.js';
export type { Caller, CallOptions } from './call.js';
export type { Clock } from './Clock.js';
export type { ConnectOptions } from './Connection.js';
export type { Events, State, TvEvent } from './Emitter.js';
export { ConnectionLost, DecodeError, ServiceError, TimedOut, TvError } from './errors.js';
export type * from './generated/description.js';
export type * from './generated/interfaces.js';
export type { Guide, GuideWindow } from './Guide.js';
export type { Scan } from './Scan.js';
export type { Service } from './Service.js';
export { connect, Tv } from './Tv.js';
