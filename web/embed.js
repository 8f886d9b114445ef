// Makes a C++ source of the files in a folder, and beside it their bytes, which it includes:
//
//     node embed.js FOLDER OUTPUT    writes OUTPUT/PageFiles.cpp and OUTPUT/page.bin
//
// The same files give the same output.

import { createHash } from 'node:crypto';
import { readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { extname, join, resolve } from 'node:path';
import { gzipSync } from 'node:zlib';

const types = {
  '.css': 'text/css; charset=utf-8',
  '.html': 'text/html; charset=utf-8',
  '.ico': 'image/x-icon',
  '.js': 'text/javascript; charset=utf-8',
  '.json': 'application/json',
  '.png': 'image/png',
  '.svg': 'image/svg+xml',
  '.txt': 'text/plain; charset=utf-8',
  '.webmanifest': 'application/manifest+json',
  '.webp': 'image/webp',
  '.woff2': 'font/woff2',
};

const [folder, output] = process.argv.slice(2);
const blob = [];
let size = 0;

/** Adds bytes to those beside the source and returns how the source names them. */
function keep(bytes) {
  blob.push(bytes);
  size += bytes.length;
  return bytes.length === 0 ? '{}' : `{ostrelPageBytes + ${size - bytes.length}, ${bytes.length}}`;
}

/** The paths of all files, sorted. */
function pathsIn(folder, path = '') {
  return readdirSync(join(folder, path), { withFileTypes: true })
    .flatMap((entry) => (entry.isDirectory() ? pathsIn(folder, `${path}/${entry.name}`) : `${path}/${entry.name}`))
    .sort();
}

const rows = pathsIn(folder).map((path) => {
  const type = types[extname(path)];
  if (type === undefined || !/^[\w/.~-]+$/.test(path)) throw new Error(`${path}: no type is known, or its name is not plain`);
  const bytes = readFileSync(join(folder, path));
  const gzip = gzipSync(bytes, { level: 9 });
  const tag = createHash('sha256').update(bytes).digest('hex').slice(0, 16);
  const isForever = /^\/assets\/.+-[\w-]{8}\.\w+$/.test(path); // Vite puts a hash into these names
  return `    {"${path}", "${type}", ${keep(bytes)},\n     ${keep(gzip.length < bytes.length ? gzip : Buffer.alloc(0))}, "${tag}", ${isForever}},\n`;
});

const bytesFile = resolve(output, 'page.bin');
writeFileSync(bytesFile, Buffer.concat(blob));
writeFileSync(
  join(output, 'PageFiles.cpp'),
  `// Made by web/embed.js.
#include "host/PageFiles.h"

asm(".pushsection .rodata\\n"
    ".hidden ostrelPageBytes\\n"
    ".globl ostrelPageBytes\\n"
    "ostrelPageBytes: .incbin \\"${bytesFile}\\"\\n"
    ".popsection\\n");
extern "C" __attribute__((visibility("hidden"))) const char ostrelPageBytes[${size}];

namespace Ostrel {

namespace {
// clang-format off
constexpr PageFile files[] = {
${rows.join('')}};
}

std::span<const PageFile> getPageFiles() noexcept {
    return files;
}

} // namespace Ostrel
`,
);
