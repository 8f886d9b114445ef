import { useConnection, useTv } from '@ostrel/tv/react';
import { useEffect, useState } from 'react';
import { useSimulator } from '../../app/simulator';
import { type Document, type Method, methodsOf, type Schemas } from './description';

/** A server of the host, as it describes itself. */
export interface Described {
  server: 'TV' | 'Simulator';
  methods: readonly Method[];
  schemas: Schemas;
}

export interface Description {
  servers: readonly Described[];
  /** Why the service does not describe itself. */
  error: Error | undefined;
  reload: () => void;
}

/** Asks the servers what they can be asked. */
export function useDescription(): Description {
  const tv = useTv();
  const { simulator, state } = useSimulator();
  const isOpen = useConnection().state === 'open';
  const [servers, set] = useState<readonly Described[]>([]);
  const [error, fail] = useState<Error>();
  const [attempt, again] = useState(0);
  useEffect(() => {
    if (!isOpen || state === 'unknown') return;
    let isOver = false;
    const ask = async (server: Described['server'], call: Promise<unknown>): Promise<Described> => {
      const document = (await call) as Document;
      return { server, methods: methodsOf(document), schemas: document.components.schemas };
    };
    const asked = [ask('TV', tv.call('rpc.discover'))];
    if (simulator !== undefined) asked.push(ask('Simulator', simulator.call('rpc.discover')));
    Promise.all(asked).then(
      (described) => isOver || (set(described), fail(undefined)),
      (error: Error) => isOver || fail(error),
    );
    return () => {
      isOver = true;
    };
  }, [tv, simulator, state, isOpen, attempt]);
  return { servers, error, reload: () => again((n) => n + 1) };
}
