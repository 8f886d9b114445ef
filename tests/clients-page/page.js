// docs/clients.md as its readers use it: each section's install line, program, and what that prints.

import { spawn } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';

const here = fileURLToPath(new URL('.', import.meta.url)); // npm's packages are found from here
const printedAddress = '127.0.0.1:8480';

/** The interpreters of the programs, which read them from standard input. Debian's Python has Debian's packages. */
const interpreters = {
  js: ['node', '--input-type=module', '-'],
  python: ['/usr/bin/python3', '-'],
  sh: ['bash', '-eu'],
};

/** The page's sections that hold a program, in their order. */
export function readSections() {
  const page = readFileSync(new URL('../../docs/clients.md', import.meta.url), 'utf8');
  return page
    .split(/^## /m)
    .slice(1)
    .filter((section) => section.includes('```'))
    .map((section) => {
      const blocks = [...section.matchAll(/^```(\w+)\n(.*?)^```$/gms)].map(([, kind, text]) => ({ kind, text }));
      const [install, program, output, ...rest] = blocks;
      const isWhole = install.kind === 'console' && program.kind in interpreters && output?.kind === 'text';
      const name = section.slice(0, section.indexOf('\n'));
      if (!isWhole || rest.length > 0) throw new Error(`${name}: not one install line, program and output`);
      return { name, install: install.text, language: program.kind, program: program.text, output: output.text };
    });
}

/** Runs a program with that address in place of the printed one, and returns what it prints; errors are part of it. */
export async function run(language, program, address = printedAddress) {
  const [command, ...options] = interpreters[language];
  const child = spawn(command, options, { cwd: here });
  child.stdin.end(program.replaceAll(printedAddress, address));
  let printed = '';
  for (const stream of [child.stdout, child.stderr]) stream.setEncoding('utf8').on('data', (text) => (printed += text));
  await new Promise((resolve, reject) => child.on('error', reject).on('close', resolve));
  return printed;
}
