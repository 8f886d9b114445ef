// Each program of docs/clients.md prints what the page shows, and what it needs is installed by ./dev.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import test from 'node:test';
import { startHost } from '../support/host.js';
import { readSections, run } from './page.js';

const { devDependencies } = JSON.parse(readFileSync(new URL('package.json', import.meta.url), 'utf8'));
const dev = readFileSync(new URL('../../dev', import.meta.url), 'utf8');
const debianPackages = /^to_test=\((.*?)^\)/ms.exec(dev)[1].split(/\s+/);

const sections = readSections();

for (const { name, install, language, program, output } of sections) {
  test(`${name} prints what the page shows`, async (t) => {
    const host = await startHost(t);
    assert.equal(await run(language, program, host), output);
  });

  test(`${name} is installed by the line that the page shows`, () => {
    const [, how, packages] = /^\$ (npm|apt-get) install (.*)\n$/.exec(install);
    for (const name of packages.split(' ')) {
      if (how === 'apt-get') assert(debianPackages.includes(name), `./dev does not install ${name}`);
      else assert.equal(name, `${name.split('@')[0]}@${devDependencies[name.split('@')[0]]}`);
    }
  });

  // The page's lines hold the test, not the other way round.
  test(`${name} with a method misspelt prints something else`, async (t) => {
    const host = await startHost(t);
    const wrong = program.replace('serviceListSet', 'serviceListPut');
    assert.notEqual(wrong, program);
    assert.notEqual(await run(language, wrong, host), output);
  });
}

test('there are clients', () => assert(sections.length >= 5));
