// The page in Debian's Chromium: one browser a file, a window of its own for each page, closed when the test ends.

import { existsSync } from 'node:fs';
import { mkdir } from 'node:fs/promises';
import { fileURLToPath } from 'node:url';
import { type Browser, type BrowserContext, chromium, type Page } from 'playwright-core';
import { afterAll, expect, onTestFinished } from 'vitest';
import type { Host } from './host.js';

const program = '/usr/bin/chromium';
const pictures = fileURLToPath(new URL('../../../build/page/', import.meta.url));

/** As root it cannot have a sandbox; without the others it asks its maker for news. */
const quiet = ['--no-sandbox', '--disable-gpu', '--disable-background-networking', '--disable-component-update', '--disable-sync',
  '--no-first-run'];

const browsers: Browser[] = [];
afterAll(() => Promise.all(browsers.splice(0).map((browser) => browser.close())));

/** Starts another browser, for a test that needs options of its own. */
export async function startBrowser(...more: string[]): Promise<Browser> {
  if (!existsSync(program)) throw new Error(`there is no ${program}; ./dev test installs it`);
  const browser = await chromium.launch({ executablePath: program, args: [...quiet, ...more] });
  browsers.push(browser);
  return browser;
}

let shared: Promise<Browser> | undefined;
const sharedBrowser = () => (shared ??= startBrowser());

/** The sizes that the page is drawn for. */
export const sizes = {
  desk: { width: 1280, height: 720 },
  television: { width: 1920, height: 1080 },
  phone: { width: 390, height: 844 },
} as const;

export interface PageOptions {
  /** Default: desk. A phone is touched. */
  size?: keyof typeof sizes | { width: number; height: number };
  /** What the system prefers. Default: dark. */
  theme?: 'dark' | 'light';
  /** The viewer's. Default: Europe/London. */
  zone?: string;
  locale?: string;
  reducedMotion?: boolean;
  /** Another page of this window, with which it shares what the browser remembers. */
  beside?: Page;
  browser?: Browser;
}

/** What is wrong with a page that nobody said to be expected. */
const allowed = new WeakMap<Page, RegExp[]>();

/** Lets a page complain of this; else whatever it complains of fails the test. */
export const allow = (page: Page, ...complaints: RegExp[]): void => void allowed.get(page)?.push(...complaints);

/** Errors of the console (a breach of the Content-Security-Policy is one), of scripts, and requests that failed. */
function watch(page: Page): void {
  const complaints: string[] = [];
  allowed.set(page, []);
  page.on('console', (message) => message.type() === 'error' && complaints.push(`console: ${message.text()} ${message.location().url}`));
  page.on('pageerror', (error) => complaints.push(`script: ${error.stack ?? error.message}`));
  page.on('requestfailed', (request) => {
    const why = request.failure()?.errorText ?? '';
    if (why !== 'net::ERR_ABORTED') complaints.push(`request: ${why} ${request.url()}`); // the page was left
  });
  onTestFinished(() => {
    const expected = allowed.get(page) ?? [];
    expect(complaints.filter((complaint) => !expected.some((pattern) => pattern.test(complaint)))).toEqual([]);
  });
}

async function openWindow({ size = 'desk', theme = 'dark', zone, locale, reducedMotion, browser }: PageOptions): Promise<BrowserContext> {
  const isPhone = size === 'phone';
  const window = await (browser ?? (await sharedBrowser())).newContext({
    viewport: typeof size === 'string' ? sizes[size] : size,
    colorScheme: theme,
    timezoneId: zone ?? 'Europe/London',
    locale: locale ?? 'en-GB',
    reducedMotion: reducedMotion ? 'reduce' : 'no-preference',
    hasTouch: isPhone,
    isMobile: isPhone,
  });
  onTestFinished(() => window.close());
  return window;
}

/** Where a host's page is: `http://127.0.0.1:8480`. */
export const originOf = ({ address }: Pick<Host, 'address'>): string => `http://${address}`;

/** Opens a host's page. @param route  as the address's fragment has it, such as `#/guide?at=2011-10-16T12:00` */
export async function openPage(host: Pick<Host, 'address'>, route = '', options: PageOptions = {}): Promise<Page> {
  const window = options.beside?.context() ?? (await openWindow(options));
  const page = await window.newPage();
  watch(page);
  const answer = await page.goto(`${originOf(host)}/${route}`);
  if (answer?.ok() !== true) throw new Error(await answer?.text()); // such as: it was built without the page
  return page;
}

/** Leaves a picture in `build/page`, to be looked at. */
export async function screenshot(page: Page, name: string): Promise<void> {
  await mkdir(pictures, { recursive: true });
  await page.screenshot({ path: `${pictures}${name}.png` });
}
