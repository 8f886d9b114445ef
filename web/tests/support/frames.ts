import type { Page } from 'playwright-core';

/** How smoothly the page was drawn while something was done. */
export interface Frames {
  count: number;
  /** From one frame to the next, in milliseconds. */
  longest: number;
  /** How many took more than 50 ms. */
  over50: number;
  /** The most elements that the document held in any frame. */
  mostNodes: number;
}

interface Recording extends Frames {
  stop: boolean;
}
type Recorder = { ostrelFrames?: Recording };

/** Measures the frames while `action` is done. */
export async function measureFrames(page: Page, action: () => Promise<unknown>): Promise<Frames> {
  await page.evaluate(() => {
    const recording = { count: 0, longest: 0, over50: 0, mostNodes: 0, stop: false };
    (globalThis as Recorder).ostrelFrames = recording;
    const nodes = document.getElementsByTagName('*');
    let last: number | undefined;
    const frame = (now: number) => {
      if (last !== undefined) {
        recording.count += 1;
        recording.longest = Math.max(recording.longest, now - last);
        if (now - last > 50) recording.over50 += 1;
      }
      recording.mostNodes = Math.max(recording.mostNodes, nodes.length);
      last = now;
      if (!recording.stop) requestAnimationFrame(frame);
    };
    requestAnimationFrame(frame);
  });
  await action();
  return page.evaluate(() => {
    const { stop, ...frames } = Object.assign((globalThis as Recorder).ostrelFrames!, { stop: true });
    return frames;
  });
}

/** The same for an empty page of the same browser, to hold the others against: what this machine does at its best. */
export async function measureEmptyPage(beside: Page, milliseconds = 2000): Promise<Frames> {
  const page = await beside.context().newPage();
  const frames = await measureFrames(page, () => page.waitForTimeout(milliseconds));
  await page.close();
  return frames;
}

/** How many elements the document holds. */
export const countNodes = (page: Page): Promise<number> => page.evaluate(() => document.getElementsByTagName('*').length);

/** What the page's scripts hold, in bytes, once what nobody needs is thrown away. */
export async function measureHeap(page: Page): Promise<number> {
  const session = await page.context().newCDPSession(page);
  await session.send('HeapProfiler.collectGarbage');
  const { usedSize } = await session.send('Runtime.getHeapUsage');
  await session.detach();
  return usedSize;
}
