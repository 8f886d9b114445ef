import type { CDPSession, Page } from 'playwright-core';
import { expect, onTestFinished } from 'vitest';

/** A walk through the page by keyboard alone. The test's log tells it: each key, what it led to, and what that means. */
export interface Walk {
  /**
   * Presses a key, such as `ArrowRight` or `Shift+Tab`.
   *
   * @param means   what a viewer would say has happened
   * @param wanted  what has the focus then, as focus() says it; waits for it
   * @returns what has the focus
   */
  press(key: string, means: string, wanted?: string | RegExp): Promise<string>;
  /** Types a text. */
  type(text: string, means: string): Promise<string>;
  /** What has the focus, as a screen reader is told: `link "Guide"`. */
  focus(): Promise<string>;
}

interface AxNode {
  role?: { value?: string };
  name?: { value?: string };
}

/** Role and name of what has the focus, from Chromium's accessibility tree; of the active descendant where there is one. */
async function focusOf(session: CDPSession): Promise<string> {
  const expression = `(() => {
    let element = document.activeElement;
    const active = element?.getAttribute('aria-activedescendant');
    return (active && document.getElementById(active)) || element;
  })()`;
  const { result } = await session.send('Runtime.evaluate', { expression });
  if (result.objectId === undefined) return 'nothing';
  const { nodes } = await session.send('Accessibility.getPartialAXTree', { objectId: result.objectId, fetchRelatives: false });
  const [node] = nodes as AxNode[];
  return `${node?.role?.value ?? 'none'} "${node?.name?.value ?? ''}"`;
}

export async function walk(page: Page, title: string): Promise<Walk> {
  const session = await page.context().newCDPSession(page);
  const log = [`Walk: ${title}`];
  onTestFinished(() => console.log(log.join('\n')));
  const focus = () => focusOf(session);
  const settle = () => page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
  const tell = async (keys: string, means: string, wanted?: string | RegExp): Promise<string> => {
    await settle();
    try {
      if (typeof wanted === 'string') await expect.poll(focus).toBe(wanted);
      else if (wanted !== undefined) await expect.poll(focus).toMatch(wanted);
    } finally {
      log.push(`  ${keys.padEnd(12)} ${means}  [${await focus()}]`);
    }
    return focus();
  };
  return {
    focus,
    async press(key, means, wanted) {
      await page.keyboard.press(key);
      return tell(key, means, wanted);
    },
    async type(text, means) {
      await page.keyboard.type(text);
      return tell(JSON.stringify(text), means);
    },
  };
}
