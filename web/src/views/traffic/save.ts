import { say } from '../../parts/Notice';
import { log, nameOf } from './feed';
import { formatCount } from './format';
import { isCut } from './message';
import { forReplay, toRecord } from './record';
import { type Filter, matcher } from './Selection';

/** Saves what matches as a file that `ostrel-tv replay` takes. */
export function save(filter: Filter): void {
  const chosen = [...forReplay(log, matcher(filter, nameOf))];
  const messages = chosen.flatMap(({ request, reply }) => [request, reply].filter((message) => message !== undefined));
  const cut = messages.filter(isCut).length;
  const url = URL.createObjectURL(new Blob([toRecord(chosen)], { type: 'application/jsonl' }));
  const link = document.createElement('a');
  link.href = url;
  link.download = 'traffic.jsonl';
  link.click();
  setTimeout(() => URL.revokeObjectURL(url), 60_000);
  const note = cut > 0 ? ` ${formatCount(cut)} of them are longer than 16 KiB: their beginnings are there, and replay leaves them out.` : '';
  say(`Saved ${formatCount(messages.length)} messages.${note}`, 'ostrel-tv replay traffic.jsonl --diff');
}
