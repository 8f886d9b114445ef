/**
 * What our programs and libraries are made of: Debian's packages, as the build used them, and npm's
 * packages, as they have come into the page.
 */
import { execFileSync, spawnSync } from 'node:child_process';
import { readFileSync, realpathSync } from 'node:fs';
import { basename, join, relative } from 'node:path';
import { fileURLToPath } from 'node:url';

export const root = fileURLToPath(new URL('..', import.meta.url));

/** The lines of licences.txt by their sections, each as its first word and the rest. */
export function readLicences(file = join(root, 'packaging/licences.txt')) {
  const sections = {};
  let lines;
  for (const line of readFileSync(file, 'utf8').split('\n').map((text) => text.trim())) {
    if (line === '' || line.startsWith('#')) continue;
    const section = /^\[(.*)\]$/.exec(line);
    if (section) lines = sections[section[1]] = new Map();
    else if (sections.allowed === lines) lines.set(line, '');
    else lines.set(...line.split(/\s+(.*)/, 2));
  }
  return sections;
}

const run = (program, ...words) => execFileSync(program, words, { encoding: 'utf8', maxBuffer: 1 << 28, stdio: ['ignore', 'pipe', 'ignore'] });

/** The objects that are linked into a file that is built, through libraries on the way. */
function objectsOf(build, file) {
  const words = run('ninja', '-C', build, '--quiet', '-n', '-t', 'commands', '-s', file).split(/\s+/);
  const objects = words.filter((word) => word.endsWith('.o'));
  const archives = words.filter((word) => word.endsWith('.a') && word !== file && !word.startsWith('/'));
  return [...objects, ...[...new Set(archives)].flatMap((archive) => objectsOf(build, archive))];
}

/** The files of the system that the objects were compiled with. */
function headersOf(build, objects) {
  const text = run('ninja', '-C', build, '--quiet', '-n', '-t', 'deps', ...new Set(objects));
  return [...new Set(text.split('\n').map((line) => line.trim()).filter((line) => line.startsWith('/usr/')))];
}

/** The libraries of the system that a program or library is loaded with. */
function librariesOf(file) {
  if (file.endsWith('.a')) return [];
  return [...run('ldd', file).matchAll(/=> (\/(?:usr\/)?lib\S*)/g)].map((found) => found[1]);
}

/** The names under which a file may stand in a package: what is below /usr/lib may have come below /lib. */
const namesOf = (file) => [file, realpathSync(file)].flatMap((name) => [name, name.replace(/^\/usr/, ''), `/usr${name}`]);

/** Which of Debian's packages each file comes from. One question for all: each reads what every package has. */
function owners(files) {
  const { stdout } = spawnSync('dpkg', ['-S', ...new Set(files.flatMap(namesOf))], { encoding: 'utf8', maxBuffer: 1 << 28 });
  const owner = new Map([...stdout.matchAll(/^([^ ,]+): (\/.*)$/gm)].map(([, name, file]) => [file, name]));
  return new Map(files.map((file) => [file, namesOf(file).map((name) => owner.get(name)).find((name) => name !== undefined)]));
}

function describe(names) {
  const format = ['binary:Package', 'Package', 'Version', 'Architecture', 'source:Package', 'source:Version'].map((name) => `\${${name}}`).join('\\t');
  return run('dpkg-query', '-W', '-f', `${format}\\n`, ...names).trim().split('\n').map((line) => {
    const [id, name, version, architecture, source, sourceVersion] = line.split('\t');
    return { id, name, version, architecture, source, sourceVersion };
  });
}

/** Debian numbers some sources, and has several of these side by side: boost1.81, gcc-12. */
function debianLicence(source, { debian }) {
  return debian.get(source) ?? debian.get(source.replace(/-?\d[\d.]*$/, '')) ?? null;
}

/**
 * Debian's packages, in the order of their names: {name, version, architecture, source, sourceVersion,
 * licence, linked}. `linked` are those that are loaded with a program; of the others something was compiled in.
 *
 * @param build  the folder of the build
 * @param files  the programs and libraries that are shipped
 */
export function debianParts(build, files, licences = readLicences()) {
  const libraries = files.flatMap(librariesOf);
  const headers = headersOf(build, files.flatMap((file) => objectsOf(build, relative(build, file))));
  const owner = owners([...libraries, ...headers]);
  const linked = new Set(libraries.map((file) => owner.get(file)));
  return describe(new Set(owner.values()))
    .map(({ id, ...part }) => ({ ...part, linked: linked.has(id) || linked.has(part.name), licence: debianLicence(part.source, licences) }))
    .sort((left, right) => (left.name < right.name ? -1 : 1));
}

/** What the lock file says of npm's packages, our own left out: {name, version, licence, entry}. */
export function lockedParts(file = join(root, 'package-lock.json'), licences = readLicences()) {
  const { packages } = JSON.parse(readFileSync(file, 'utf8'));
  return Object.entries(packages)
    .filter(([path, entry]) => path.includes('node_modules/') && !entry.link)
    .map(([path, entry]) => {
      const name = path.slice(path.lastIndexOf('node_modules/') + 'node_modules/'.length);
      const licence = entry.license ?? licences.npm.get(`${name}@${entry.version}`) ?? null;
      return { path, name, version: entry.version, licence, entry };
    });
}

/**
 * npm's packages in a page: {name, version, licence}.
 *
 * @param file  what Vite wrote beside the page; null without one
 */
export function pageParts(file, licences = readLicences()) {
  if (file === null) return [];
  const locked = new Map(lockedParts(undefined, licences).map((part) => [part.path, part]));
  return JSON.parse(readFileSync(file, 'utf8')).map((path) => {
    const { name, version, licence } = locked.get(path);
    return { name, version, licence };
  });
}

/** What is shipped, as the build wrote it down: {files, page, version}. */
export function readShipped(build) {
  return JSON.parse(readFileSync(join(build, 'packaging/shipped.json'), 'utf8'));
}

export const nameOf = (file) => basename(file).replace(/\.so\..*|\.so$|\.a$/, '');
