// The replies and notifications of tests/wire/*.txt are as the description has them.

import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import test from 'node:test';
import { description, server } from './description.js';

const folder = new URL('../wire/', import.meta.url);
const names = readdirSync(folder).filter(
  (name) => name.endsWith('.txt') && name !== 'CMakeLists.txt' && (name === 'simulator.txt') === (server === 'Simulator'),
);

/** Returns the requests that may be meant, or none for what is no JSON. */
function readRequests(text) {
  try {
    return [JSON.parse(text)].flat();
  } catch {
    return [];
  }
}

for (const name of names) {
  test(name, (t) => {
    let requests = [];
    const count = { replies: 0, notifications: 0 };
    const faults = [];
    for (const line of readFileSync(new URL(name, folder), 'utf8').split('\n')) {
      const text = line.slice(2).replaceAll('$context', '2874105937');
      if (line.startsWith('> ')) {
        requests = readRequests(text);
      } else if (line.startsWith('! ')) {
        ++count.notifications;
        faults.push(...description.faultsOfNotification(JSON.parse(text)));
      } else if (line.startsWith('< ')) {
        for (const reply of [JSON.parse(text)].flat()) {
          ++count.replies;
          const request = requests.find(({ id }) => id === reply.id);
          faults.push(...description.faultsOfReply(description.findMethod(request?.method), reply));
        }
      }
    }
    assert.deepEqual(faults, []);
    assert(count.replies > 0, 'nothing is replied');
    t.diagnostic(`${count.replies} replies, ${count.notifications} notifications`);
  });
}

test('there are transcripts', () => assert(names.length > 0));
