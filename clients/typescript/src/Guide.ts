// SPDX-License-Identifier: Apache-2.0

import type { BatchCaller } from './Batch.js';
import type { CallOptions } from './call.js';
import { DecodeError } from './errors.js';
import { type EventInfo, type OutputFormat, type Programme, programme, type QueryPayload } from './generated/description.js';
import { ITVGuide } from './generated/interfaces.js';
import { findMisfit } from './Shape.js';

/** A part of the guide. */
export interface GuideWindow {
  /** The first second, since 1970-01-01 UTC. */
  from: number;
  /** The first second behind it. */
  to: number;
  /** The services, by their number in the guide (`id` of a `ServiceInfo`). Default: all. */
  services?: readonly number[] | undefined;
}

/** As many services as the 20 nodes of an expression hold beside a range of time. */
const mostServices = 13;

/** @param place  of the document in the reply */
function parseProgramme(document: string, place: number): Programme {
  let parsed: unknown;
  try {
    parsed = JSON.parse(document);
  } catch {} // undefined fits no more than another value does
  const misfit = findMisfit(parsed, { progSchedule: programme });
  if (misfit === undefined) return (parsed as { progSchedule: Programme }).progSchedule;
  throw new DecodeError('a document is not a programme', 'ITVGuide::query', `result[${place}]${misfit}`);
}

/** The programme guide: the methods of `ITVGuide`, and what is mostly wanted of them. */
export class Guide extends ITVGuide<BatchCaller> {
  /**
   * The events that touch a window of time, by their start: those that end after `from` and start before `to`.
   *
   * One question for all services together, or for up to 13; more are asked for in several, sent as one.
   */
  async window({ from, to, services }: GuideWindow, options?: CallOptions): Promise<EventInfo[]> {
    const timeRange = { base: from, limit: to };
    if (services === undefined) return this.queryEventInfo({ query: { timeRange } }, options);
    const wanted = [...new Set(services)];
    const found = await this.tv.batch((batch) => {
      const parts = [];
      for (let i = 0; i < wanted.length; i += mostServices) {
        const serviceIdList = wanted.slice(i, i + mostServices);
        parts.push(batch.guide.queryEventInfo({ query: { serviceIdList, timeRange } }));
      }
      return parts;
    }, options);
    return found.flat().sort((a, b) => a.startTime - b.startTime);
  }

  /**
   * Finds events by an expression, such as `ServiceId == 1043 && Start >= 1318748400`, by their start.
   *
   * `ServiceId`, `Start` and `End` are compared with numbers by `==`, `<`, `<=`, `>`, `>=` and `in (…)`, joined
   * by `&&`, `||` and parentheses; an expression holds at most 20 fields, numbers, lists and operators.
   *
   * @throws {ServiceError} `NotSupported`: the expression is none
   */
  override query(expression: string, options?: CallOptions): Promise<Programme[]>;
  /** The method of the wire: answers documents, in the format that the payload names. */
  override query(payload: QueryPayload, options?: CallOptions): Promise<string[]>;
  override async query(what: string | QueryPayload, options?: CallOptions): Promise<any> {
    if (typeof what !== 'string') return super.query(what, options);
    const documents = await this.raw(what, 'quoriljson', options);
    return documents.map(parseProgramme);
  }

  /**
   * Finds events as query() does and gives the documents as they travel.
   *
   * @throws {ServiceError} `NotSupported`: the expression is none
   */
  raw(expression: string, outputFormat: OutputFormat = 'quoriljson', options?: CallOptions): Promise<string[]> {
    return super.query({ expression, expressionFormat: 'quoril', outputFormat }, options);
  }
}
