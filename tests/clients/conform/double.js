// A double of a host: passes on what clients and host say to each other, and does one thing wrong.

import { once } from 'node:events';
import WebSocket, { WebSocketServer } from 'ws';

/**
 * What it does wrong.
 * @typedef {object} Spoiler
 * @property {(method: string, reply: object) => object|undefined} [reply]  what comes in place of a reply
 *     of the host; for undefined it hangs up
 * @property {(replies: object[]) => object[]} [batch]        what comes in place of those of a batch
 * @property {(notification: object) => object} [notification]
 * @property {boolean} [isLate]     notifications come behind the next reply
 * @property {string} [token]       what must be shown to be let in
 */

/**
 * Starts a double and returns its address, HOST:PORT.
 * @param test     its end is the double's
 * @param {string} host  that one's address
 * @param {Spoiler} spoiler
 */
export async function startDouble(test, host, spoiler) {
  const server = new WebSocketServer({
    host: '127.0.0.1',
    port: 0,
    verifyClient: ({ req }) => !spoiler.token || req.headers.authorization === `Bearer ${spoiler.token}`,
  });
  test.after(() => {
    for (const client of server.clients) client.terminate();
    server.close();
  });
  server.on('connection', (client, { url: path }) =>
    passOn(client, new WebSocket(`ws://${host}${path}`, 'jsonrpc'), spoiler),
  );
  await once(server, 'listening');
  return `127.0.0.1:${server.address().port}`;
}

function passOn(client, host, spoiler) {
  const methods = new Map(); // of requests, by their id
  const opened = once(host, 'open');
  const held = []; // notifications
  const send = (message) => client.send(JSON.stringify(message));
  const spoil = (reply) => (spoiler.reply ? spoiler.reply(methods.get(reply.id), reply) : reply);

  client.on('message', async (data) => {
    const text = `${data}`;
    try {
      for (const { id, method } of [JSON.parse(text)].flat()) methods.set(id, method);
    } catch {
      // The host shall say what is wrong with it.
    }
    await opened;
    host.send(text);
  });
  host.on('message', (text) => {
    const message = JSON.parse(text);
    if (!Array.isArray(message) && !('id' in message)) {
      const notification = spoiler.notification?.(message) ?? message;
      if (spoiler.isLate) held.push(notification);
      else send(notification);
      return;
    }
    const replies = [message].flat().map(spoil);
    if (replies.includes(undefined)) return client.close();
    if (Array.isArray(message)) send(spoiler.batch?.(replies) ?? replies);
    else replies.forEach(send);
    held.splice(0).forEach(send);
  });
  client.on('close', async () => {
    await opened;
    host.terminate();
  });
  host.on('close', () => client.close());
}
