import { say } from './Notice';
import { Topic } from './Topic';

/** What a control has done to the service, and the command that does the same. */
export interface Deed {
  says: string;
  command: string;
  /** Of several of one kind in a row the last alone is kept: where a slider has come to, not its way there. */
  kind?: string;
}

export interface Line extends Deed {
  number: number;
}

/** The latest first. They stay while the page does. */
export const lines = new Topic<readonly Line[]>([]);

const most = 10;

/** Puts a deed before the others. */
export function withDeed(before: readonly Line[], deed: Deed): readonly Line[] {
  const [last, ...older] = before;
  const number = (last?.number ?? 0) + 1;
  const kept = last !== undefined && deed.kind !== undefined && deed.kind === last.kind ? older : before;
  return [{ ...deed, number }, ...kept].slice(0, most);
}

/** Tells the viewer of a deed. */
export function tell(deed: Deed): void {
  lines.set(withDeed(lines.get(), deed));
  say(deed.says, deed.command);
}
