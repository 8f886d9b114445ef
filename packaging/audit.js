/**
 * Tells of what we are made, and what is wrong with it: node audit.js [--json] [--tracker URL] [BUILD]
 *
 * Of npm's lock file: each package has its checksum, comes from the registry, has a licence that may be, and runs no
 * program when it is installed, unless licences.txt says why. Of Debian's packages in the programs of BUILD: licence,
 * version, whether the archive has a security update, and which holes with a mend the security tracker knows.
 *
 * Exit status 0: nothing is wrong; 1: something is; 2: wrong usage.
 */
import { spawnSync } from 'node:child_process';
import { join, resolve } from 'node:path';
import { parseArgs } from 'node:util';
import { debianParts, lockedParts, readLicences, readShipped, root } from './parts.js';

const registry = 'https://registry.npmjs.org/';

let options;
try {
  options = parseArgs({
    allowPositionals: true,
    options: {
      json: { type: 'boolean', default: false },
      tracker: { type: 'string' },
      lock: { type: 'string', default: join(root, 'package-lock.json') },
      licences: { type: 'string', default: join(root, 'packaging/licences.txt') },
    },
  });
} catch (failure) {
  console.error(`audit: ${failure.message}`);
  process.exit(2);
}
const { values, positionals: [build] } = options;
const licences = readLicences(values.licences);

const licenceProblem = (licence) =>
  licences.allowed.has(licence) ? [] : [licence === null ? 'its licence is unknown' : `its licence is ${licence}`];

/** What is wrong with a package of the lock file. */
function npmProblems({ name, licence, entry }) {
  const problems = licenceProblem(licence);
  if (!/^sha512-[A-Za-z0-9+/]{86}==$/.test(entry.integrity ?? '')) problems.push('it has no SHA-512 checksum');
  if (entry.resolved !== undefined && !entry.resolved.startsWith(registry)) problems.push(`it comes from ${entry.resolved}`);
  if (entry.hasInstallScript && !licences['install scripts'].has(name)) problems.push('it runs a program when it is installed');
  return problems;
}

/** The version that the archive of security updates has beyond the one that is here, by package. */
function securityUpdates(names) {
  const { stdout } = spawnSync('apt-cache', ['policy', ...names], { encoding: 'utf8', env: { ...process.env, LC_ALL: 'C' } });
  const updates = new Map();
  for (const [, name, installed, candidate, table] of (stdout ?? '').matchAll(
    /^(\S+):\n {2}Installed: (.*)\n {2}Candidate: (.*)\n {2}Version table:\n((?: .*\n?)*)/gm)) {
    const origin = table.slice(table.indexOf(` ${candidate} `)).split('\n').slice(1);
    const own = origin.slice(0, origin.findIndex((line) => !/^ {8}/.test(line)) >>> 0);
    if (installed !== candidate && own.some((line) => line.includes('-security'))) updates.set(name, candidate);
  }
  return updates;
}

/** What Debian's security tracker knows of packages, where it says that there is a mend; null when it cannot be asked. */
function knownHoles(names) {
  const suite = /^VERSION_CODENAME=(.*)$/m.exec(spawnSync('cat', ['/etc/os-release'], { encoding: 'utf8' }).stdout)?.[1];
  const { status, stdout } = spawnSync(
    'debsecan', ['--suite', suite, '--only-fixed', '--format', 'simple', ...(values.tracker ? ['--source', values.tracker] : [])],
    { encoding: 'utf8', timeout: 60_000 });
  if (status !== 0) return null;
  const holes = new Map(names.map((name) => [name, []]));
  for (const line of stdout.split('\n')) {
    const [bug, name] = line.split(' ');
    holes.get(name)?.push(bug);
  }
  return holes;
}

const parts = lockedParts(values.lock, licences).map((part) => ({
  from: 'npm', name: part.name, version: part.version, licence: part.licence, problems: npmProblems(part),
}));
let tracker = 'not asked: no build is named';
if (build !== undefined) {
  const folder = resolve(build);
  const debian = debianParts(folder, readShipped(folder).files, licences);
  const names = debian.filter(({ source }) => !licences.elsewhere.has(source)).map(({ name }) => name);
  const updates = securityUpdates(names);
  const holes = knownHoles(names);
  tracker = holes === null ? 'it cannot be reached: versions alone, and the security updates that apt knows of' : 'asked';
  for (const { name, version, licence } of debian) {
    const problems = licenceProblem(licence);
    if (updates.has(name)) problems.push(`there is a security update, ${updates.get(name)}`);
    const bugs = holes?.get(name) ?? [];
    if (bugs.length > 0) problems.push(`mended since: ${bugs.join(' ')}`);
    parts.push({ from: 'debian', name, version, licence, problems });
  }
}

const wrong = parts.filter(({ problems }) => problems.length > 0);
if (values.json) {
  console.log(JSON.stringify({ tracker, parts }));
} else {
  const columns = ['from', 'name', 'version', 'licence'].map((key) => [key, Math.max(...parts.map((part) => `${part[key]}`.length))]);
  for (const part of parts) {
    console.log(columns.map(([key, width]) => `${part[key] ?? '?'}`.padEnd(width)).join('  ').trimEnd());
    for (const problem of part.problems) console.log(`    ! ${problem}`);
  }
  console.log(`\nDebian's security tracker: ${tracker}`);
  console.log(`${parts.length} parts, ${wrong.length === 0 ? 'nothing is wrong with them' : `of which ${wrong.length} have something wrong`}`);
}
process.exit(wrong.length === 0 ? 0 : 1);
