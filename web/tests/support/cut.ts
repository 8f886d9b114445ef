import type { Page } from 'playwright-core';
import { expect } from 'vitest';

/**
 * Expects that the page does not scroll sideways, and that no text is cut: neither by the element that it stands in nor by
 * the window's edge. Left out is what scrolls by itself, what says with `title` or an ellipsis that there is more, and
 * what is for screen readers alone.
 */
export async function expectNothingCut(page: Page): Promise<void> {
  const found = await page.evaluate(() => {
    const wide = document.documentElement.scrollWidth - innerWidth;
    const cut = wide > 0 ? [`the page is ${wide} px wider than the window`] : [];
    const hasText = (element: Element) =>
      [...element.childNodes].some((node) => node.nodeType === Node.TEXT_NODE && node.textContent!.trim() !== '');
    for (const element of document.querySelectorAll<HTMLElement>('body *')) {
      if (!hasText(element) || !element.checkVisibility({ opacityProperty: true, visibilityProperty: true })) continue;
      const box = element.getBoundingClientRect();
      if (box.width <= 1 || box.height <= 1) continue;
      let mayBeCut = false;
      let isOutside = box.left < -1 || box.right > innerWidth + 1;
      for (let at: Element | null = element; at !== null; at = at.parentElement) {
        const style = getComputedStyle(at);
        if (style.clipPath !== 'none' || style.textOverflow === 'ellipsis') mayBeCut = true;
        if (style.overflowX === 'auto' || style.overflowX === 'scroll') isOutside = false;
      }
      if (mayBeCut) continue;
      const style = getComputedStyle(element);
      const isCutInside = style.overflowX !== 'visible' && style.overflowX !== 'auto' && element.scrollWidth > element.clientWidth + 1;
      const parent = element.closest('button, a, th, td, li')?.getBoundingClientRect();
      const isOverParent = parent !== undefined && (box.right > parent.right + 1 || box.left < parent.left - 1);
      if (isOutside || isCutInside || isOverParent) cut.push(`${element.tagName} "${element.textContent!.trim().slice(0, 40)}"`);
    }
    return cut;
  });
  expect(found).toEqual([]);
}
