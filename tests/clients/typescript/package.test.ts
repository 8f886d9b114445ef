// What is delivered: its size, its declarations, its documentation.

import { build } from 'esbuild';
import { execFileSync } from 'node:child_process';
import { readdirSync, readFileSync } from 'node:fs';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { gzipSync } from 'node:zlib';
import ts from 'typescript';
import { expect, test } from 'vitest';
import { Host } from './host.js';

const root = fileURLToPath(new URL('../../../', import.meta.url));
const library = `${root}clients/typescript/`;

/** Bundles a module as a page would, with React left out, and returns what it is made of and its size. */
async function bundle(contents: string) {
  const { outputFiles, metafile } = await build({
    stdin: { contents, resolveDir: library },
    bundle: true,
    minify: true,
    format: 'esm',
    external: ['react'],
    metafile: true,
    write: false,
  });
  const inputs = Object.keys(metafile.inputs);
  return { inputs, size: gzipSync(outputFiles[0]!.contents, { level: 9 }).length };
}

test('a page loads less than 12 kB of it, and nothing else', async () => {
  const { inputs, size } = await bundle("export * from '@ostrel/tv'");
  expect(inputs.filter((file) => /node_modules\/(?!@ostrel)/.test(file))).toEqual([
    '(disabled):../../../node_modules/ws/browser.js', // empty
  ]);
  expect(inputs.filter((file) => /react|imulator/.test(file))).toEqual([]);
  console.log(`${size} bytes`);
  expect(size).toBeLessThan(12_000);
});

test('a page loads what it uses of it', async () => {
  const all = await bundle("export * from '@ostrel/tv'; export * from '@ostrel/tv/react'");
  const core = await bundle("export * from '@ostrel/tv'");
  const errors = await bundle("export { TimedOut } from '@ostrel/tv'");
  const hook = await bundle("export { useTv } from '@ostrel/tv/react'");
  console.log(`${all.size - core.size} bytes of hooks`);
  expect(all.size - core.size).toBeLessThan(3_000);
  expect(errors.size).toBeLessThan(500);
  expect(hook.size).toBeLessThan(all.size - core.size); // no connection among it
});

test('the package holds the library, its sources and its README, and nothing is missing', () => {
  const [{ files }] = JSON.parse(execFileSync('npm', ['pack', '--dry-run', '--json', '--ignore-scripts'], { cwd: library, encoding: 'utf8' }));
  const packed: string[] = files.map(({ path }: { path: string }) => path);
  const sources = packed.filter((path) => path.startsWith('src/'));
  const made = sources.flatMap((path) => ['.js', '.d.ts', '.js.map'].map((end) => path.replace('src/', 'dist/').replace(/\.ts$/, end)));
  expect(packed.sort()).toEqual(['README.md', 'package.json', ...sources, ...made].sort());
  for (const file of packed.filter((path) => /(?<!\.d)\.ts$|\.js$/.test(path))) // of declarations the compiler leaves it out
    expect(readFileSync(library + file, 'utf8').split('\n')[0], file).toBe('// SPDX-License-Identifier: Apache-2.0');
  const { exports } = JSON.parse(readFileSync(`${library}package.json`, 'utf8'));
  for (const { types, default: module } of Object.values<Record<string, string>>(exports))
    for (const file of [types, module]) expect(packed).toContain(file!.slice(2));
});

test('everything that it exports is explained where editors look', () => {
  const entries = ['index', 'react/index', 'Simulator', 'testing'].map((name) => `${library}dist/${name}.d.ts`);
  const program = ts.createProgram(entries, { module: ts.ModuleKind.NodeNext, skipLibCheck: true });
  const checker = program.getTypeChecker();
  const unexplained: string[] = [];
  let count = 0;
  const look = (symbol: ts.Symbol, name: string) => {
    count += 1;
    if (symbol.getDocumentationComment(checker).length === 0) unexplained.push(name);
  };
  for (const entry of entries)
    for (const exported of checker.getExportsOfModule(checker.getSymbolAtLocation(program.getSourceFile(entry)!)!)) {
      const symbol = exported.flags & ts.SymbolFlags.Alias ? checker.getAliasedSymbol(exported) : exported;
      look(symbol, symbol.name);
      if (!(symbol.flags & ts.SymbolFlags.Class)) continue;
      for (const member of checker.getDeclaredTypeOfSymbol(symbol).getProperties())
        if (member.flags & ts.SymbolFlags.Method) look(member, `${symbol.name}.${member.name}`);
    }
  expect(count).toBeGreaterThan(100);
  expect(unexplained).toEqual([]);
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
  const descriptions = ['TV/interfaces', 'simulator'].map((room) => readFileSync(`${root}${room}/openrpc.json`, 'utf8'));
  const methods = descriptions.flatMap((text) => JSON.parse(text).methods);
  const names: string[] = methods.filter((method: { result?: unknown }) => method.result).map(({ name }: { name: string }) => name);
  expect(names.length).toBeGreaterThan(30);
  expect(names.filter((name) => !sample.includes(`.${name.split('::')[1]}(`))).toEqual([]);
});
