// A shell with ostrel-tv in it: what is typed is run, and what it prints is what is shown.

import { spawnSync } from 'node:child_process';
import { dirname } from 'node:path';
import { fileURLToPath } from 'node:url';
import { test } from 'vitest';
import { noon, simulatorOf, startHost } from '../tests/support/host.js';
import { startBrowser } from '../tests/support/page.js';
import { save } from './save.js';

const columns = 96;
const tool = process.env.OSTREL_TV ?? fileURLToPath(new URL('../../build/release/clients/tool/ostrel-tv', import.meta.url));

const commands = [
  'ostrel-tv services --limit 5',
  'ostrel-tv now 1',
  "ostrel-tv guide --channel 1 --from now --to +3h",
  "ostrel-tv query 'ServiceId == 1043 && (End > -95'",
  'ostrel-tv clock step next --before 10s',
];

const escape = (text: string) => text.replace(/[&<>]/g, (letter) => `&#${letter.charCodeAt(0)};`);

/** Runs a command on a terminal of its own. */
function run(command: string, address: string): string {
  const { stdout } = spawnSync('script', ['-qec', `stty cols ${columns} rows 50; ${command}`, '/dev/null'], {
    encoding: 'utf8',
    env: { ...process.env, PATH: `${dirname(tool)}:${process.env.PATH}`, OSTREL_TV_URL: `ws://${address}/rpc/TV`, TZ: 'Europe/London', TERM: 'dumb' },
  });
  return stdout.replaceAll('\r\n', '\n');
}

const style = `
  body { margin: 0; padding: 28px; background: #0d1218; }
  main { border: 1px solid #27323e; border-radius: 10px; background: #141b23; overflow: hidden; }
  header { display: flex; gap: 8px; padding: 12px 14px; border-bottom: 1px solid #27323e; }
  i { width: 12px; height: 12px; border-radius: 50%; background: #3a4754; }
  pre { margin: 0; padding: 16px 20px 20px; color: #c8d2dc; font: 14px/1.45 ui-monospace, monospace; font-variant-ligatures: none; }
  b { color: #e9eff5; font-weight: 600; }
  s { color: #62cbff; text-decoration: none; }`;

test('terminal', async () => {
  const host = await startHost();
  await (await simulatorOf(host)).clockSet({ now: noon + 25 * 60 });
  const shown = commands.map((command) => `<s>$</s> <b>${escape(command)}</b>\n${escape(run(command, host.address))}`).join('\n');
  const page = await (await startBrowser()).newPage({ viewport: { width: 920, height: 400 } });
  await page.setContent(`<!doctype html><style>${style}</style><main><header><i></i><i></i><i></i></header><pre>${shown.trimEnd()}</pre></main>`);
  save('ostrel-tv', await page.screenshot({ fullPage: true }));
  await page.close();
});
