/** What is to be said of the service's clock beside its time; empty where it is the system's. */
export function clockMark(now: number, speed: number, system: number): string {
  if (speed === 0) return 'held';
  if (speed !== 1) return `× ${speed}`;
  return Math.abs(now - system) > 5 ? 'set' : '';
}
