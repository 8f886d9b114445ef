import { once } from 'node:events';
import { createServer, type Server } from 'node:http';
import type { AddressInfo } from 'node:net';
import { onTestFinished } from 'vitest';
import { type WebSocket, WebSocketServer } from 'ws';

/** A service with a clock that the test sets, and, where that is wished, a simulator that tells of it. */
export class SteeredService {
  now = 1_000_000;
  speed = 0;
  /** The methods that were called, by message. */
  readonly messages: string[][] = [];
  /** Called behind each answer. */
  onAnswer: (method: string) => void = () => {};
  /** The answers to other methods than those about time. */
  tell: (method: string, payload: any) => unknown = () => 1;
  readonly #server: Server = createServer((_, response) => response.writeHead(404).end());
  readonly #watchers = new Set<WebSocket>();

  /** @param simulator  whether there is one; `mute`: it takes connections and never answers a word */
  static async start(simulator: boolean | 'mute'): Promise<SteeredService> {
    const service = new SteeredService();
    const sockets = new WebSocketServer({ noServer: true });
    service.#server.on('upgrade', (request, socket, head) => {
      socket.on('error', () => {}); // cut by who gave up
      const isTv = request.url === '/rpc/TV';
      if (!isTv && simulator === 'mute') return;
      if (!isTv && !simulator) return void socket.end('HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n');
      sockets.handleUpgrade(request, socket, head, (opened) => {
        if (!isTv) service.#watchers.add(opened);
        opened.on('message', (text) => {
          const requests = [JSON.parse(String(text))].flat();
          service.messages.push(requests.map(({ method }) => method));
          const replies = requests.map(({ id, method, params }) => {
            return { jsonrpc: '2.0', id, result: service.#answer(method, params?.payload) };
          });
          opened.send(JSON.stringify(replies.length === 1 ? replies[0] : replies));
          service.onAnswer(requests[0].method);
        });
      });
    });
    onTestFinished(() => {
      for (const socket of sockets.clients) socket.terminate();
      service.#server.closeAllConnections();
      service.#server.close();
    });
    await once(service.#server.listen(0, '127.0.0.1'), 'listening');
    return service;
  }

  get url(): string {
    return `ws://127.0.0.1:${(this.#server.address() as AddressInfo).port}`;
  }

  /** Sets the clock and tells of it. */
  set(now: number, speed: number): void {
    Object.assign(this, { now, speed });
    const params = { now, speed, real: 0 };
    for (const socket of this.#watchers) socket.send(JSON.stringify({ jsonrpc: '2.0', method: 'Simulator::onClock', params }));
  }

  /** Cuts the connections to the simulator. */
  forgetWatchers(): void {
    for (const socket of this.#watchers) socket.terminate();
    this.#watchers.clear();
  }

  #answer(method: string, payload: unknown): unknown {
    if (method === 'Simulator::clockGet') return { now: this.now, speed: this.speed, real: 0 };
    return method === 'ITVService::utcTimeGet' ? this.now : this.tell(method, payload);
  }
}
