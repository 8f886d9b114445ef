// @ostrel/tv as people get it: packed, and installed in an empty folder with nothing else of this tree.

import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { once } from 'node:events';
import { copyFileSync, mkdtempSync, readFileSync, rmSync, symlinkSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import test, { after, before } from 'node:test';
import { fileURLToPath } from 'node:url';
import { startHost } from '../../support/host.js';

const root = fileURLToPath(new URL('../../../', import.meta.url));
const folder = mkdtempSync(join(tmpdir(), 'ostrel-packed-'));
after(() => rmSync(folder, { recursive: true }));

const npm = (where, ...options) =>
  execFileSync('npm', options, { cwd: where, encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'] });

/** Runs a program in that folder and returns its exit status and all that it wrote. */
async function run(...options) {
  const child = spawn(process.execPath, options, { cwd: folder, stdio: ['ignore', 'pipe', 'pipe'] });
  let written = '';
  for (const stream of [child.stdout, child.stderr]) stream.on('data', (text) => (written += text));
  const [status] = await once(child, 'close');
  return { status, written };
}

const compile = (file) =>
  run(join(root, 'node_modules/typescript/bin/tsc'), '--strict', '--noEmit', '--target', 'es2022', '--module', 'nodenext', file);

before(() => {
  // It is built already, and others are reading it.
  const packed = npm(join(root, 'clients/typescript'), 'pack', '--json', '--ignore-scripts', '--pack-destination', folder);
  npm(folder, 'install', '--offline', `./${JSON.parse(packed)[0].filename}`);
  symlinkSync(join(root, 'node_modules/ws'), join(folder, 'node_modules/ws')); // Node before 22 wants it
});

test('the first program of its README prints what stands there', async (t) => {
  const readme = readFileSync(join(folder, 'node_modules/@ostrel/tv/README.md'), 'utf8');
  const [, program] = /```js\n(.*?)```/s.exec(readme);
  const [, output] = /```text\n(.*?)```/s.exec(readme);
  writeFileSync(join(folder, 'first.mjs'), program.replace('127.0.0.1:8480', await startHost(t)));
  assert.deepEqual(await run('first.mjs'), { status: 0, written: output });
});

test('a sample that uses every method compiles strictly, and does not with a member misspelt', async () => {
  const sample = join(folder, 'sample.ts');
  copyFileSync(join(root, 'tests/clients/typescript/types.ts'), sample);
  assert.deepEqual(await compile('sample.ts'), { status: 0, written: '' });
  writeFileSync(join(folder, 'wrong.ts'), readFileSync(sample, 'utf8').replace('uri:', 'url:'));
  assert.match((await compile('wrong.ts')).written, /^wrong\.ts\(.*'url' does not exist in type 'ServiceListSeekByUriPayload'/);
});
