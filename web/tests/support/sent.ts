// What a page sends to the service.

import type { Page } from 'playwright-core';

/** A call, and in which message it went. */
export interface SentCall {
  method: string;
  payload: Record<string, any> | undefined;
  message: number;
}

/** Records the calls that a page makes on `/rpc/TV`, on its latest connection; the page is to be loaded anew behind it. */
export function recordCalls(page: Page): SentCall[] {
  const calls: SentCall[] = [];
  let message = 0;
  page.on('websocket', (socket) => {
    if (!socket.url().endsWith('/rpc/TV')) return;
    calls.length = 0;
    socket.on('framesent', ({ payload }) => {
      message += 1;
      for (const { method, params } of [JSON.parse(String(payload))].flat()) calls.push({ method, payload: params?.payload, message });
    });
  });
  return calls;
}
