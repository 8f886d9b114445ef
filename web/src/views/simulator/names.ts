import { useEffect, useState } from 'react';
import { headers } from '../../app/service';

interface Description {
  methods: { name: string }[];
}

/** Patterns that stand for many, before the full names. */
const patterns = { call: ['*', 'ITVService::*', 'ITVConfig::*', 'ITVGuide::*'], notification: ['*', 'ITVConfig::onScan*'] };

/** What a rule may name, from the service's own description; the patterns alone until that is there. */
export function useNames(): Readonly<Record<'call' | 'notification', readonly string[]>> {
  const [names, setNames] = useState<readonly string[]>([]);
  useEffect(() => {
    const leaving = new AbortController();
    fetch('/openrpc.json', { headers, signal: leaving.signal })
      .then(async (reply) => reply.ok && setNames(((await reply.json()) as Description).methods.map(({ name }) => name)))
      .catch(() => {}); // a name can be typed all the same
    return () => leaving.abort();
  }, []);
  const isTold = (name: string) => /::on[A-Z]/.test(name);
  return {
    call: [...patterns.call, ...names.filter((name) => !isTold(name))],
    notification: [...patterns.notification, ...names.filter(isTold)],
  };
}
