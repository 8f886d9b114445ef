import type { EventInfo, Programme } from '@ostrel/tv';
import { useTv } from '@ostrel/tv/react';
import { useEffect, useState } from 'react';
import { expressionOf } from './labels';

/** How long an event stays selected before more is asked of it, in milliseconds: not while arrows run over it. */
const pause = 200;

/** Everything that the guide holds of an event; undefined until it is there. */
export function useDocument(event: EventInfo | undefined): Programme | undefined {
  const tv = useTv();
  const [found, setFound] = useState<{ expression: string; programme: Programme | undefined }>();
  const expression = event && expressionOf(event);
  useEffect(() => {
    if (expression === undefined) return;
    const asking = new AbortController();
    const timer = setTimeout(() => {
      tv.guide.query(expression, { signal: asking.signal }).then(
        ([programme]) => setFound({ expression, programme }),
        () => {}, // what is shown without it is true; "raw" says what is wrong
      );
    }, pause);
    return () => {
      clearTimeout(timer);
      asking.abort();
    };
  }, [tv, expression]);
  return found?.expression === expression ? found?.programme : undefined;
}
