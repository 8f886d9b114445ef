#!/usr/bin/env node
// Finds out whether a server speaks the wire as its description says.

import { readFileSync } from 'node:fs';
import { parseArgs } from 'node:util';
import { Conformance } from './conformance.js';
import { Conversation, NoAnswer } from './conversation.js';
import { Description } from './description.js';
import { report, show } from './report.js';

const help = `Finds out whether a server speaks the wire of Ostrel TV as the description says.

Usage: ostrel-conform --yes | --simulator [OPTION ...] [URL]

URL is where the server is, ws://HOST:PORT/PATH [ws://127.0.0.1:8480/rpc/TV].

It sends each method its example, then parameters of all kinds, made from the
schemas: right ones, ones at the border and wrong ones. It deletes services and
transponders and starts scans, for all clients of the server; so say --yes.
Afterwards "ostrel-tv scan blind" brings the services of a simulator back.

Options:
  -h, --help            Print this help
  --yes                 The server's services and transponders may go
  --simulator           The server is ostrel-tvd, started just now with
                        --fake-time: examples must give exactly what the
                        description shows. Implies --yes. Other servers have
                        other channels and another guide; of them it is only
                        asked that answers are of the kind described
  --description FILE    The OpenRPC document to go by [what the server answers
                        to rpc.discover]. Name the simulator's to find out
                        whether a box agrees with it
  --calls N             How often to call each method with made-up parameters,
                        from 1 to 100000 [1000]; all methods mixed are called
                        twice as often
  --seed N              What they are made from: the same number, the same
                        calls [1]
  --timeout SECONDS     How long to wait for the connection and each answer [10]
  --token-file FILE     Read the token that the server wants from this file
  --json                Print JSON for a script, and nothing else

The table has a row for each method and notification:
  Answers         it answers, once, with the right id, and its example's result
  Schema          results are as its schema says
  Errors          errors are described ones, with their data; and just what the
                  schemas do not allow is refused
  Notifications   they are as described, and come before the reply where the
                  description says so
"ok": looked at, and right. "fails": told below. "-": there was nothing to see.

Examples:
  ostrel-tvd --fake-time & ostrel-conform --simulator
  ostrel-conform --yes ws://box.local:8480/rpc/TV --token-file token
  ostrel-conform --yes --description openrpc.json --json ws://box.local:8480

Exit status: 0 the server conforms; 1 it does not; 2 wrong usage, or there is
no connection.`;

/** What ends the program at once, with the status 2. */
class Refusal extends Error {}

const numbers = {
  calls: { least: 1, most: 100000 },
  seed: { least: 0, most: 4294967295 },
  timeout: { least: 1, most: 86400 },
};

function readOptions() {
  let parsed;
  try {
    parsed = parseArgs({
      allowPositionals: true,
      options: {
        help: { type: 'boolean', short: 'h' },
        yes: { type: 'boolean' },
        simulator: { type: 'boolean', default: false },
        description: { type: 'string' },
        calls: { type: 'string', default: '1000' },
        seed: { type: 'string', default: '1' },
        timeout: { type: 'string', default: '10' },
        'token-file': { type: 'string' },
        json: { type: 'boolean' },
      },
    });
  } catch (error) {
    throw new Refusal(`${error.message.split('. ')[0]}; see ostrel-conform --help`);
  }
  const options = parsed.values;
  if (options.help) return options;
  for (const [name, { least, most }] of Object.entries(numbers)) {
    const value = /^\d+$/.test(options[name]) ? Number(options[name]) : NaN;
    if (!(value >= least && value <= most))
      throw new Refusal(`--${name} takes a whole number from ${least} to ${most}, not ${options[name]}`);
    options[name] = value;
  }
  if (parsed.positionals.length > 1) throw new Refusal('one URL is enough; see ostrel-conform --help');
  options.url = readUrl(parsed.positionals[0] ?? 'ws://127.0.0.1:8480');
  if (!options.yes && !options.simulator)
    throw new Refusal(
      'it will delete services and transponders and start scans, for all clients of the server; say --yes,' +
        ' or --simulator for an ostrel-tvd that was started just now with --fake-time',
    );
  return options;
}

/** Returns the URL; without a path it is the one of the TV service. */
function readUrl(text) {
  let url;
  try {
    url = new URL(text);
  } catch {
    // Refused below.
  }
  if (!['ws:', 'wss:'].includes(url?.protocol))
    throw new Refusal(`${text} is no URL such as ws://127.0.0.1:8480/rpc/TV`);
  if (url.pathname === '/') url.pathname = '/rpc/TV';
  return url.href;
}

function readFile(name) {
  try {
    return readFileSync(name, 'utf8');
  } catch (error) {
    throw new Refusal(error.message);
  }
}

/** Returns the description to go by, and where it is from. */
async function findDescription(connect, file) {
  let document;
  let from = file;
  try {
    if (file !== undefined) {
      document = JSON.parse(readFile(file));
    } else {
      const conversation = await connect();
      const { result } = Object(await conversation.ask(conversation.request('rpc.discover')));
      conversation.close();
      document = result;
      from = 'the server';
    }
    const description = new Description(document);
    description.assertUsable();
    return { from, description };
  } catch (error) {
    if (error instanceof Refusal) throw error;
    const silent = error instanceof NoAnswer ? 'rpc.discover is not answered: ' : '';
    throw new Refusal(
      `${silent}${error.message}; there is no description to go by, name one with --description`,
    );
  }
}

async function main() {
  const options = readOptions();
  if (options.help) {
    console.log(help);
    return 0;
  }
  const { url, seed, calls, simulator, timeout } = options;
  const token = options['token-file'] && readFile(options['token-file']).trim();
  const connect = () =>
    Conversation.open(url, { token, timeout }).catch(({ message }) => {
      throw new Refusal(`there is no connection to ${url}: ${message}`);
    });
  const { from, description } = await findDescription(connect, options.description);

  const isShown = process.stderr.isTTY && !options.json;
  const clear = isShown ? '\r\x1b[K' : '';
  const progress = (what) => isShown && process.stderr.write(`${clear}Checking ${show(what)} `);
  const run = new Conformance(connect, description, { calls, seed, simulator, progress });
  let lost;
  try {
    await run.run();
  } catch (error) {
    if (!(error instanceof Refusal) || run.findings.conforms) throw error;
    lost = error.message;
  } finally {
    process.stderr.write(clear);
  }

  const { conforms, methods, faults } = run.findings;
  const version = description.document.info?.version;
  if (options.json) {
    console.log(JSON.stringify({ url, description: { from, version }, seed, calls, conforms, lost, methods, faults }));
  } else {
    console.log(`${url}, by the description ${show(version)} of ${from}; seed ${seed}\n`);
    console.log(report(run.findings, process.stdout.isTTY && !process.env.NO_COLOR));
    if (lost) console.log(`\nThe rest was not looked at: ${lost}`);
    console.log(conforms ? '\nIt conforms.' : '\nIt does not conform.');
  }
  return conforms ? 0 : 1;
}

try {
  process.exitCode = await main();
} catch (error) {
  if (!(error instanceof Refusal)) throw error;
  console.error(`ostrel-conform: ${show(error.message)}`);
  process.exitCode = 2;
}
