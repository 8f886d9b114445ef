import type { Page } from 'playwright-core';

/** Drags a finger over the glass, and lets what is below run on: from a place, by a distance in pixels. */
export async function swipe(page: Page, from: { x: number; y: number }, by: { x?: number; y?: number }): Promise<void> {
  const session = await page.context().newCDPSession(page);
  const touch = (type: 'touchStart' | 'touchMove' | 'touchEnd', touchPoints: { x: number; y: number }[]) =>
    session.send('Input.dispatchTouchEvent', { type, touchPoints });
  await touch('touchStart', [from]);
  const steps = 8;
  for (let i = 1; i <= steps; i++)
    await touch('touchMove', [{ x: from.x + ((by.x ?? 0) * i) / steps, y: from.y + ((by.y ?? 0) * i) / steps }]);
  await touch('touchEnd', []);
  await session.detach();
}
