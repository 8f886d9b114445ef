// What is delivered: its size, its declarations, its documentation.

import { build } from 'esbuild';
import { execFileSync } from 'node:child_process';
import { readdirSync, readFileSync } from 'node:fs';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { gzipSync } from 'node:zlib';
import { expect, test } from 'vitest';
import { Host } from './host.js';

const root = fileURLToPath(new URL('../../../', import.meta.url));
const library = `${root}clients/typescript/`;

test('a page loads less than 12 kB of it, and nothing else', async () => {
  const { outputFiles, metafile } = await build({
    stdin: { contents: "export * from '@ostrel/tv'", resolveDir: library },
    bundle: true,
    minify: true,
    format: 'esm',
    metafile: true,
    write: false,
  });
  expect(Object.keys(metafile.inputs).filter((file) => /node_modules\/(?!@ostrel)/.test(file))).toEqual([
    '(disabled):../../../node_modules/ws/browser.js', // empty
  ]);
  const size = gzipSync(outputFiles[0]!.contents, { level: 9 }).length;
  console.log(`${size} bytes`);
  expect(size).toBeLessThan(12_000);
});

test('no module of it leads back to itself', async () => {
  const sources = `${library}src/`;
  const imports = (file: string) =>
    [...readFileSync(file, 'utf8').matchAll(/from '(\.[^']+)\.js'/g)].map(([, path]) => resolve(dirname(file), `${path}.ts`));
  const visit = (file: string, above: readonly string[]): void => {
    expect(above, `${file} leads back to itself`).not.toContain(file);
    for (const other of imports(file)) visit(other, [...above, file]);
  };
  const files = readdirSync(sources, { recursive: true }) as string[];
  const modules = files.filter((file) => file.endsWith('.ts'));
  expect(modules.length).toBeGreaterThan(10);
  for (const file of modules) visit(join(sources, file), []);
});

test('its version is that of the description', () => {
  const read = (file: string) => JSON.parse(readFileSync(file, 'utf8'));
  expect(read(`${library}package.json`).version).toBe(read(`${root}TV/interfaces/openrpc.json`).info.version);
});

test('the first program of the README prints what stands there', async () => {
  const host = await Host.start();
  const readme = readFileSync(`${library}README.md`, 'utf8');
  const [, program] = readme.match(/```js\n(.*?)```/s)!;
  const [, output] = readme.match(/```text\n(.*?)```/s)!;
  expect(program).toContain('ws://127.0.0.1:8480');
  const text = program!.replace('ws://127.0.0.1:8480', host.url);
  const printed = execFileSync(process.execPath, ['--input-type=module', '-e', text], { cwd: library, encoding: 'utf8' });
  expect(printed).toBe(output);
});

test('types.ts calls every method', () => {
  const sample = readFileSync(new URL('types.ts', import.meta.url), 'utf8');
  const { methods } = JSON.parse(readFileSync(`${root}TV/interfaces/openrpc.json`, 'utf8'));
  const names: string[] = methods.filter((method: { result?: unknown }) => method.result).map(({ name }: { name: string }) => name);
  expect(names.length).toBeGreaterThan(20);
  expect(names.filter((name) => !sample.includes(`.${name.split('::')[1]}(`))).toEqual([]);
});
