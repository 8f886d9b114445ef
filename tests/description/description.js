// The description of one of the host's servers.

import { Description } from '@ostrel/conform/description.js';
import { readFileSync } from 'node:fs';

const documents = { TV: 'TV/interfaces/openrpc.json', Simulator: 'simulator/openrpc.json' };

/** Its name. */
export const server = process.env.OSTREL_SERVER ?? 'TV';

export const description = new Description(
  JSON.parse(readFileSync(new URL(`../../${documents[server]}`, import.meta.url), 'utf8')),
);
