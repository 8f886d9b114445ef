// SPDX-License-Identifier: Apache-2.0

import { type ErrorName, errorNames } from './generated/description.js';
import { findMisfit } from './Shape.js';

/** What every failed call is rejected with, but for one that its own AbortSignal ended. */
export class TvError extends Error {
  constructor(
    message: string,
    /** The method that was called; undefined where the connection itself failed. */
    readonly method?: string,
  ) {
    super(method === undefined ? message : `${method}: ${message}`);
    this.name = new.target.name;
  }
}

/** The service has refused the call. */
export class ServiceError extends TvError {
  /** What the error is called, such as `InvalidState`. A later service may know further names. */
  override readonly name: ErrorName | (string & {});
  /** The number of the result code; undefined for errors of JSON-RPC itself. */
  readonly returnCode: number | undefined;
  /** The member that was wrong. `context` where the context is gone; the next call makes another. */
  readonly member: string | undefined;

  /** The error's code on the wire. */
  readonly code: number;

  constructor(error: WireError, method: string) {
    super(error.message, method);
    this.code = error.code;
    this.name = error.data?.name ?? errorNames[error.code] ?? 'ServiceError';
    this.returnCode = error.data?.returnCode;
    this.member = error.data?.member;
  }
}

/** A parameter is missing or of the wrong kind, or the reply is not what the description of the service says;
 * to repeat the call does not help. */
export class DecodeError extends TvError {
  override readonly name = 'DecodeError';

  constructor(
    message: string,
    method: string,
    /** The path of the member that was wrong, such as `query.timeRange.base`; `result[2].title` in a reply. */
    readonly member: string,
  ) {
    super(message, method);
  }
}

/**
 * The connection broke while the call was under way, or could not be made, or close() was called. The
 * service may have carried the call out: whether to repeat it is the caller's to know.
 */
export class ConnectionLost extends TvError {
  override readonly name = 'ConnectionLost';
}

/** No reply came in time. The service may have carried the call out, or still do so. */
export class TimedOut extends TvError {
  override readonly name = 'TimedOut';
}

/** An error as it travels. */
export interface WireError {
  code: number;
  message: string;
  data?: { name?: string; returnCode?: number; member?: string };
}

/** Returns what to reject a call with whose reply is not as described. */
export const misfitError = (path: string, method: string) =>
  new DecodeError(`${path} of the reply is not as the service describes it`, method, path);

/** Returns what to reject a call with. */
export function errorFrom(error: unknown, method: string): TvError {
  const misfit = findMisfit(error, { code: 'integer', message: 'string' });
  if (misfit !== undefined) return misfitError(`error${misfit}`, method);
  const { code, message, data } = error as WireError;
  const { name, returnCode, member } = Object(data);
  const known = {
    ...(typeof name === 'string' && { name }),
    ...(Number.isInteger(returnCode) && { returnCode }),
    ...(typeof member === 'string' && { member }),
  };
  if (code === -32602) return new DecodeError(message, method, known.member ?? 'params');
  return new ServiceError({ code, message, data: known }, method);
}
