// What people read.

import { checks } from './findings.js';

const longest = 300;

/** Returns a value as a line for people: long ones are cut, and what would steer a terminal is spelt out. */
export function show(value) {
  const text = typeof value === 'string' ? value : (JSON.stringify(value) ?? 'nothing');
  const cut = text.length > longest ? `${text.slice(0, longest)}…` : text;
  return cut.replace(
    /[\u0000-\u001f\u007f-\u009f\u200e\u200f\u2028-\u202e\u2066-\u2069]/g,
    (letter) => `\\u${letter.charCodeAt(0).toString(16).padStart(4, '0')}`,
  );
}

/**
 * Returns the table, and below it what was wrong.
 * @param {import('./findings.js').Findings} findings
 * @param {boolean} coloured
 */
export function report(findings, coloured) {
  const colours = coloured ? { ok: '\x1b[32m', fails: '\x1b[1;31m', end: '\x1b[0m' } : {};
  const paint = (text) => {
    const colour = colours[text.trim()];
    return colour ? `${colour}${text}${colours.end}` : text;
  };

  const rows = findings.methods.map((row) => ({ ...row, name: show(row.name) }));
  const width = Math.max(...rows.map(({ name }) => name.length));
  const titles = checks.map((check) => check[0].toUpperCase() + check.slice(1));
  const lines = [`${'Method'.padEnd(width)}  ${titles.join('  ')}`];
  for (const row of rows) {
    const cells = checks.map((check, column) =>
      paint(column < checks.length - 1 ? row[check].padEnd(check.length) : row[check]),
    );
    lines.push(`${row.name.padEnd(width)}  ${cells.join('  ')}`);
  }
  for (const { method, check, times, sent, came, expected } of findings.faults) {
    lines.push('', `${show(method)}, ${check}, ${times === 1 ? 'once' : `${times} times`}:`);
    if (sent !== undefined) lines.push(`  sent      ${show(sent)}`);
    lines.push(`  came      ${show(came)}`, `  expected  ${show(expected)}`);
  }
  return lines.join('\n');
}
