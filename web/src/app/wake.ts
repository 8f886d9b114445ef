import { tv } from './service';

/** How often it is looked whether the machine has slept, in milliseconds. */
const interval = 1000;
/** What the two clocks of a browser may differ by from look to look before that counts as sleep, in milliseconds. */
const leeway = 2000;

/**
 * Asks for the service's time as soon as the machine wakes, or somebody sets its clock: while it sleeps only one of the
 * browser's two clocks goes on.
 */
export function measureOnWaking(): void {
  const apart = () => Date.now() - performance.now();
  let last = apart();
  setInterval(() => {
    const now = apart();
    if (Math.abs(now - last) > leeway) void tv.clock.measure().catch(() => {}); // it is asked on the next connection
    last = now;
  }, interval);
}
