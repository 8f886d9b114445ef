// Every view with something going on, at three sizes, dark and light.

import { expect, test } from 'vitest';
import { simulatorOf, startHost } from '../tests/support/host.js';
import { openPage, sizes } from '../tests/support/page.js';
import { save } from './save.js';
import { scenes } from './scenes.js';

for (const [name, { query = '', before, then }] of Object.entries(scenes)) {
  const [view] = name.split('-');
  test(name, async () => {
    const host = await startHost();
    await before?.(host, await simulatorOf(host));
    for (const size of Object.keys(sizes) as (keyof typeof sizes)[]) {
      const page = await openPage(host, `#/${view}${query}`, { size, reducedMotion: true });
      await expect.poll(() => page.getByRole('banner').locator('[data-state=open]').count()).toBe(1);
      await page.waitForLoadState('networkidle');
      await then?.(page, host);
      await expect.poll(() => page.locator('[aria-busy=true]').count()).toBe(0);
      for (const theme of ['dark', 'light'] as const) {
        await page.emulateMedia({ colorScheme: theme });
        await page.waitForTimeout(300); // what was asked for is drawn
        save(`${name}-${sizes[size].width}-${theme}`, await page.screenshot({ animations: 'disabled', caret: 'hide' }));
      }
      await page.close();
    }
  });
}
