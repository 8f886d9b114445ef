import { spawnSync } from 'node:child_process';
import { mkdirSync, writeFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';

const folder = fileURLToPath(new URL('../../docs/pictures/', import.meta.url));

/** Puts a picture into `docs/pictures`, with as few colours as nobody misses any, and says so. */
export function save(name: string, png: Buffer): void {
  const { status, stdout, stderr } = spawnSync('pngquant', ['--speed', '1', '--strip', '256', '-'], { input: png, maxBuffer: 2 ** 26 });
  if (status !== 0) throw new Error(`pngquant: ${stderr ?? 'is missing; ./dev pictures installs it'}`);
  mkdirSync(folder, { recursive: true });
  writeFileSync(`${folder}${name}.png`, stdout);
  console.log(`   docs/pictures/${name}.png  ${Math.ceil(stdout.length / 1024)} kB`);
}
