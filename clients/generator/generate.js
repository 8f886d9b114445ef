// Makes what is made from the description:
//
//     node generate.js typescript [FILE]               records and tables for clients/typescript
//     node generate.js typescript-interfaces [FILE]    its typed methods
//     node generate.js typescript-simulator [FILE]     the same of the simulator's controls
//     node generate.js reference [FILE]                the reference for people, docs/reference.md
//
// FILE is written if its text changes; without one the text goes to standard output.

import { existsSync, mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { dirname } from 'node:path';
import { reference } from './reference.js';
import { typescriptSimulator } from './simulator.js';
import { typescript, typescriptInterfaces } from './typescript.js';

/** @type {Record<string, () => string>} */
const generators = { reference, typescript, 'typescript-interfaces': typescriptInterfaces, 'typescript-simulator': typescriptSimulator };
const [name = '', file] = process.argv.slice(2);
const generate = generators[name];

if (generate === undefined) {
  console.error(`usage: generate.js ${Object.keys(generators).join('|')} [FILE]`);
  process.exit(2);
}
const text = generate();
if (file === undefined) {
  process.stdout.write(text);
} else if (!existsSync(file) || readFileSync(file, 'utf8') !== text) {
  mkdirSync(dirname(file), { recursive: true });
  writeFileSync(file, text);
}
