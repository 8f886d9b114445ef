// A line-up ten times as long, for a page: what the service sends is multiplied on its way.

import type { Page } from 'playwright-core';

export const times = 10;
/** From one copy of a service to the next. */
const apart = { id: 100_000, channelNumber: 1000 };

interface Message {
  id?: number;
  method?: string;
  params?: { payload?: any };
  result?: any;
}

const copies = Array.from({ length: times }, (_, copy) => copy);
const copiesOf: Readonly<Record<string, (result: any[], id: number) => unknown>> = {
  serviceListGet: (services) =>
    copies.flatMap((copy) =>
      services.map((service) => ({
        ...service,
        id: service.id + copy * apart.id,
        channelNumber: service.channelNumber + copy * apart.channelNumber,
        uri: `${service.uri}.${copy}`,
      })),
    ),
  queryEventInfo: (events) => events.flatMap((event) => copies.map((copy) => ({ ...event, serviceId: event.serviceId + copy * apart.id }))),
  queryNowNextEventInfo: (events, id) => events.map((event) => ({ ...event, serviceId: id })),
};

/** Loads the page anew with each service ten times, with its programmes. */
export async function crowd(page: Page): Promise<void> {
  await page.routeWebSocket(/\/rpc\/TV$/, (socket) => {
    const server = socket.connectToServer();
    const asked = new Map<number | undefined, { name: string; id: number }>();
    const each = (text: string | Buffer, change: (message: Message) => Message) => {
      const message = JSON.parse(String(text)) as Message | Message[];
      return JSON.stringify(Array.isArray(message) ? message.map(change) : change(message));
    };
    socket.onMessage((text) => server.send(each(text, (call) => {
      const payload = call.params?.payload;
      asked.set(call.id, { name: call.method!.split('::')[1]!, id: payload?.id });
      if (payload?.id !== undefined) payload.id %= apart.id;
      const { sliceRange, serviceIdList } = payload?.query ?? {};
      if (sliceRange !== undefined) Object.assign(sliceRange, { base: sliceRange.base / times, limit: sliceRange.limit / times });
      if (serviceIdList !== undefined) payload.query.serviceIdList = serviceIdList.map((id: number) => id % apart.id);
      return call;
    })));
    server.onMessage((text) => socket.send(each(text, (reply) => {
      const { name, id } = asked.get(reply.id) ?? { name: '', id: 0 };
      const copy = copiesOf[name];
      return copy === undefined || reply.result === undefined ? reply : { ...reply, result: copy(reply.result, id) };
    })));
  });
  await page.reload();
}
