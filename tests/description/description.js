// TV/interfaces/openrpc.json.

import { Description } from '@ostrel/conform/description.js';
import { readFileSync } from 'node:fs';

export const description = new Description(
  JSON.parse(readFileSync(new URL('../../TV/interfaces/openrpc.json', import.meta.url), 'utf8')),
);
