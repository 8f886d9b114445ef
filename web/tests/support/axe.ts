import { createRequire } from 'node:module';
import { readFileSync } from 'node:fs';
import type { AxeResults } from 'axe-core';
import type { Page } from 'playwright-core';
import { expect } from 'vitest';

const source = readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');

/**
 * Expects that axe-core has nothing to say against the page as it stands, in dark and in light. axe comes in through the
 * debugger, which the Content-Security-Policy does not concern, so that it stays in force.
 */
export async function expectNoViolations(page: Page): Promise<void> {
  const before = await page.evaluate(() => document.documentElement.dataset.theme ?? 'system');
  await page.evaluate(source);
  for (const theme of ['dark', 'light']) {
    await wear(page, theme);
    const { violations } = await page.evaluate(() => (globalThis as unknown as { axe: { run: () => Promise<AxeResults> } }).axe.run());
    const found = violations.flatMap(({ id, nodes }) => nodes.map(({ target, failureSummary }) => `${theme}: ${id}: ${target.join(' ')}: ${failureSummary}`));
    expect(found).toEqual([]);
  }
  await wear(page, before);
}

/** Puts a theme on, and waits until colours have stopped changing. */
async function wear(page: Page, theme: string): Promise<void> {
  await page.evaluate(async (theme) => {
    document.documentElement.dataset.theme = theme;
    const changes = document.getAnimations().filter((animation) => animation instanceof CSSTransition);
    await Promise.allSettled(changes.map(({ finished }) => finished));
  }, theme);
}
