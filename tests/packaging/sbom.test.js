/** The list of parts that the build has made: node --test sbom.test.js, with OSTREL_BUILD in the environment. */
import { Ajv } from 'ajv';
import addFormats from 'ajv-formats';
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { basename, dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

const build = process.env.OSTREL_BUILD;
const list = join(build, 'packaging/ostrel.cdx.json');
const text = readFileSync(list, 'utf8');
const { components, dependencies, metadata } = JSON.parse(text);
const shipped = JSON.parse(readFileSync(join(build, 'packaging/shipped.json'), 'utf8'));
const byName = new Map(components.map((component) => [component.name, component]));
const useOf = (name) => byName.get(name)?.properties.find((property) => property.name === 'ostrel:use').value;

test('it is as CycloneDX has it', () => {
  const folder = join(dirname(createRequire(import.meta.url).resolve('@cyclonedx/cyclonedx-library/package.json')), 'res/schema');
  const schema = (name) => JSON.parse(readFileSync(join(folder, `${name}.SNAPSHOT.schema.json`), 'utf8'));
  const ajv = addFormats.default(new Ajv({ strict: false, formats: { 'iri-reference': true, 'idn-email': true } }));
  for (const name of ['spdx', 'jsf-0.82']) ajv.addSchema(schema(name), `http://cyclonedx.org/schema/${name}.SNAPSHOT.schema.json`);
  const validate = ajv.compile(schema('bom-1.5'));
  assert.ok(validate(JSON.parse(text)), JSON.stringify(validate.errors));
  assert.ok(!validate({ ...JSON.parse(text), components: [{ name: 'without a type' }] }));
});

test('it has what is shipped', () => {
  for (const name of ['libostrel', 'libostreltv', 'libostrel-client', 'ostrel-tvd', 'ostrel-tv', 'ostrel-world'])
    assert.equal(byName.get(name)?.version, shipped.version, name);
  assert.equal(metadata.component.version, shipped.version);
});

test('it has what the programs load', () => {
  const programs = shipped.files.filter((name) => !name.endsWith('.a'));
  const loaded = [...execFileSync('ldd', programs, { encoding: 'utf8' }).matchAll(/=> (\/\S+)/g)].map((found) => found[1]);
  const libraries = new Set(loaded.filter((name) => !name.startsWith(build)));
  const ending = (name) => `/${basename(dirname(name))}/${basename(name)}`; // whether below /lib or /usr/lib
  const { stdout } = spawnSync('dpkg', ['-S', ...[...libraries].map((name) => `*${ending(name)}`)], { encoding: 'utf8' });
  for (const library of libraries) {
    const owner = stdout.split('\n').find((line) => line.endsWith(ending(library)))?.split(':')[0];
    assert.equal(useOf(owner), 'linked', `${library} of ${owner}`);
  }
});

test('it has libraries of which nothing but headers are used', () => {
  for (const name of ['libcli11-dev', 'libxxhash-dev', 'libboost1.81-dev', 'libspdlog-dev', 'libfmt-dev'])
    assert.equal(useOf(name), 'compiled in', name);
  assert.equal(byName.get('libgtest-dev'), undefined); // of tests alone
});

test('what is our own is under our licence', () => {
  assert.match(readFileSync(new URL('../../LICENSE', import.meta.url), 'utf8'), /^ +Apache License\n +Version 2\.0,/m);
  for (const component of [metadata.component, ...components.filter(({ purl }) => purl === undefined)])
    assert.deepEqual(component.licenses, [{ license: { id: 'Apache-2.0' } }], component.name);
});

test('each part has a purl, a version and a licence', () => {
  for (const { name, version, purl, licenses } of components.filter((component) => component.purl !== undefined)) {
    assert.match(purl, /^pkg:(deb\/debian\/[^@]+@[^?]+\?arch=\w+|npm\/[^@]+@[\d.]+)$/, name);
    assert.ok(purl.includes(encodeURIComponent(version)), purl);
    assert.equal(licenses?.length, 1, name);
  }
});

test('it has the packages of the page, and none that only build it', { skip: shipped.page === null }, () => {
  for (const name of ['react', 'react-dom', 'scheduler']) assert.equal(useOf(name), 'in the page of ostrel-tvd', name);
  for (const name of ['vite', 'typescript', 'vitest', '@types/react']) assert.equal(byName.get(name), undefined);
});

test('whoever is named exists once', () => {
  const references = components.map((component) => component['bom-ref']);
  assert.equal(new Set(references).size, references.length);
  assert.deepEqual(dependencies[0].dependsOn, references);
});

test('the same build gives the same bytes', () => {
  const folder = mkdtempSync(join(tmpdir(), 'ostrel-'));
  try {
    const again = join(folder, 'again.json');
    execFileSync(process.execPath, [fileURLToPath(new URL('../../packaging/sbom.js', import.meta.url)), build, again]);
    assert.equal(readFileSync(again, 'utf8'), text);
  } finally {
    rmSync(folder, { recursive: true });
  }
});
