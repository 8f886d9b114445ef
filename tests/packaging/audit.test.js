/** What ./dev audit finds, and what it does not: node --test audit.test.js, with OSTREL_BUILD in the environment. */
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { chmodSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { delimiter, join } from 'node:path';
import { after, test } from 'node:test';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { deflateSync } from 'node:zlib';

const build = process.env.OSTREL_BUILD;
const program = fileURLToPath(new URL('../../packaging/audit.js', import.meta.url));
const folder = mkdtempSync(join(tmpdir(), 'ostrel-'));
after(() => rmSync(folder, { recursive: true }));

// An archive without updates, and no security tracker, unless a test says so.
const nothingNew = write('apt-cache', '#!/bin/sh\n');
chmodSync(nothingNew, 0o755);
const nowhere = pathToFileURL(join(folder, 'nowhere')).href;

function write(name, text) {
  const file = join(folder, name);
  writeFileSync(file, text);
  return file;
}

function audit(...words) {
  const { status, stdout, stderr } = spawnSync(process.execPath, [program, '--tracker', nowhere, ...words], {
    encoding: 'utf8', env: { ...process.env, PATH: folder + delimiter + process.env.PATH },
  });
  return { status, stdout, stderr };
}

/** What is wrong with packages of a lock file. */
function problemsOf(entries) {
  const lock = write('lock.json', JSON.stringify({ packages: { '': { name: 'us' }, ...entries } }));
  const { status, stdout } = audit('--json', '--lock', lock);
  const problems = JSON.parse(stdout).parts.flatMap((part) => part.problems);
  assert.equal(status, problems.length === 0 ? 0 : 1);
  return problems;
}

const integrity = `sha512-${'A'.repeat(86)}==`;
const good = { version: '1.0.0', integrity, license: 'MIT' };

test('nothing is wrong with what we use', () => {
  const { status, stdout } = audit();
  assert.equal(status, 0, stdout);
  assert.match(stdout, /nothing is wrong with them/);
});

for (const [name, entry, problems] of [
  ['a good one', good, []],
  ['one of the registry', { ...good, resolved: 'https://registry.npmjs.org/a/-/a-1.0.0.tgz' }, []],
  ['one of our own', { link: true, resolved: 'web' }, []],
  ['one from elsewhere', { ...good, resolved: 'https://registry.npmjs.org.example/a.tgz' }, ['it comes from https://registry.npmjs.org.example/a.tgz']],
  ['one from a repository', { ...good, resolved: 'git+ssh://git@example/a.git' }, ['it comes from git+ssh://git@example/a.git']],
  ['one without a checksum', { ...good, integrity: undefined }, ['it has no SHA-512 checksum']],
  ['one with a weak checksum', { ...good, integrity: 'sha1-2jmj7l5rSw0yVb/vlWAYkK/YBwk=' }, ['it has no SHA-512 checksum']],
  ['one without a licence', { ...good, license: undefined }, ['its licence is unknown']],
  ['one with another licence', { ...good, license: 'SSPL-1.0' }, ['its licence is SSPL-1.0']],
  ['one that runs a program', { ...good, hasInstallScript: true }, ['it runs a program when it is installed']],
])
  test(`of npm: ${name}`, () => assert.deepEqual(problemsOf({ 'node_modules/a': entry }), problems));

test('a package inside another is looked at, too', () => {
  assert.deepEqual(problemsOf({ 'node_modules/a/node_modules/@b/c': { ...good, license: 'None' } }), ['its licence is None']);
});

/** What the audit says of one of Debian's packages. */
function debianPart(name, ...words) {
  const { stdout } = audit('--json', ...words, build);
  return JSON.parse(stdout).parts.find((part) => part.from === 'debian' && part.name === name);
}

test('of Debian: licence and version', () => {
  const part = debianPart('libexpat1');
  assert.deepEqual([part.licence, part.problems], ['MIT', []]);
  assert.match(part.version, /^\d/);
});

test('of Debian: a licence that may not be', () => {
  const licences = readFileSync(new URL('../../packaging/licences.txt', import.meta.url), 'utf8');
  assert.deepEqual(debianPart('libexpat1', '--licences', write('one', licences.replace(/^expat .*$/m, ''))).problems, ['its licence is unknown']);
  assert.deepEqual(debianPart('libexpat1', '--licences', write('two', licences.replace(/^expat .*$/m, 'expat SSPL-1.0'))).problems, ['its licence is SSPL-1.0']);
});

/** What apt-cache policy prints of a package whose latest version comes from that suite. */
const policy = (suite) => `libexpat1:
  Installed: 2.5.0-1+deb12u1
  Candidate: 2.5.0-1+deb12u5
  Version table:
     2.5.0-1+deb12u5 500
        500 http://deb.debian.org/debian ${suite}/main amd64 Packages
 *** 2.5.0-1+deb12u1 100
        500 http://deb.debian.org/debian-security bookworm-security/main amd64 Packages
        100 /var/lib/dpkg/status
`;

test('of Debian: an update, if it is for the sake of security', () => {
  for (const [suite, problems] of [['bookworm-security', ['there is a security update, 2.5.0-1+deb12u5']], ['bookworm', []]]) {
    writeFileSync(nothingNew, `#!/bin/sh\ncat <<'TEXT'\n${policy(suite)}TEXT\n`);
    assert.deepEqual(debianPart('libexpat1').problems, problems);
  }
  writeFileSync(nothingNew, '#!/bin/sh\n');
});

test('of Debian: a hole that has been mended, if the security tracker can be reached', () => {
  const suite = /^VERSION_CODENAME=(.*)$/m.exec(readFileSync('/etc/os-release', 'utf8'))[1];
  // Its own form: bugs, then sources by the number of their bug with "a mend is there", then their packages.
  const data = ['VERSION 1', 'CVE-2099-0001,,it ends', 'CVE-2099-0002,,it waits', '',
    'expat,0,S  F,99,', 'expat,1,S   ,99,', '', 'expat,libexpat1 libexpat1-dev', '', ''].join('\n');
  writeFileSync(join(folder, suite), deflateSync(data));
  const source = pathToFileURL(folder).href;
  assert.deepEqual(debianPart('libexpat1', '--tracker', source).problems, ['mended since: CVE-2099-0001']);
  assert.match(audit(build).stdout, /Debian's security tracker: it cannot be reached/);
});

test('wrong usage is told', () => {
  const { status, stderr } = audit('--nonsense');
  assert.equal(status, 2);
  assert.match(stderr, /^audit: /);
});
