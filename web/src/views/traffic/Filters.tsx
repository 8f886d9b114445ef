import { type RefObject, useState } from 'react';
import { useParam } from '../../app/route';
import { Icon } from '../../parts/Icon';
import { log, nameOf } from './feed';
import styles from './Filters.module.css';
import { messageOf } from './TrafficLog';

/** Up to fifty of what has been seen, the latest first, to choose from. */
function seen(): { methods: string[]; clients: string[] } {
  const methods = new Set<string>();
  const clients = new Set<string>();
  for (let number = log.end - 1; number >= log.first && methods.size < 50; --number) {
    const message = messageOf(log.at(number)!);
    if (message?.method) methods.add(message.method);
    if (message !== undefined && nameOf(message) !== '' && clients.size < 50) clients.add(nameOf(message));
  }
  return { methods: [...methods].sort(), clients: [...clients] };
}

const Options = ({ id, texts }: { id: string; texts: readonly string[] }) => (
  <datalist id={id}>
    {texts.map((text) => <option key={text} value={text} />)}
  </datalist>
);

/** What of the traffic is to be seen: by text, method, client and outcome. */
export function Filters({ first }: { first: RefObject<HTMLInputElement | null> }) {
  const [text, setText] = useParam('q');
  const [method, setMethod] = useParam('method');
  const [client, setClient] = useParam('client');
  const [only, setOnly] = useParam('only');
  const [{ methods, clients }, offer] = useState<ReturnType<typeof seen>>({ methods: [], clients: [] });
  return (
    <div className={styles.filters} role="search" aria-label="Filter" onFocus={() => offer(seen())}>
      <Icon name="filter" size={16} />
      <input ref={first} type="search" aria-label="Text in messages" placeholder="Text in messages   /" value={text}
        onChange={(event) => setText(event.target.value)} />
      <input type="search" aria-label="Method" placeholder="Method, *List*" list="traffic-methods" value={method}
        onChange={(event) => setMethod(event.target.value)} />
      <input type="search" aria-label="Client" placeholder="Client" list="traffic-clients" value={client}
        onChange={(event) => setClient(event.target.value)} />
      <button aria-pressed={only === 'errors'} title="Calls that failed or have no reply (E)" onClick={() => setOnly(only === 'errors' ? '' : 'errors')}>
        Errors
      </button>
      <Options id="traffic-methods" texts={methods} />
      <Options id="traffic-clients" texts={clients} />
    </div>
  );
}
