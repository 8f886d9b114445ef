// The frame that all views stand in: the bar, the status line, addresses, the keyboard.

import { expect, test } from 'vitest';
import { expectNoViolations } from './support/axe.js';
import { startHost } from './support/host.js';
import { openPage, screenshot } from './support/page.js';
import { walk } from './support/walk.js';

test('the bar by keyboard alone', async () => {
  const host = await startHost();
  const page = await openPage(host, '#/now');
  const { press } = await walk(page, 'from view to view');
  await press('Tab', 'the first thing offered is to skip the bar', 'link "Skip to Now"');
  await press('Tab', 'the bar begins', 'link "Guide"');
  await press('ArrowDown', 'the next view below', 'link "Now"');
  await press('ArrowDown', 'and the next', 'link "Channels"');
  await press('Enter', 'it is on show');
  expect(await page.title()).toBe('Channels · Ostrel TV');
  expect(new URL(page.url()).hash).toBe('#/channels');
  await expectNoViolations(page);
  await screenshot(page, 'frame');
});
