// A headless Chromium that tells what a page should not do.
import { chromium } from 'playwright-core';

const kFlags = [
  '--no-sandbox',
  '--disable-gpu',
  '--disable-quic',
  '--no-first-run',
  '--disable-background-networking',
  '--disable-component-update',
  '--disable-sync',
];

export function launch() {
  const executablePath = process.env.TLUX_CHROMIUM ?? '/usr/bin/chromium';
  return chromium.launch({ executablePath, args: kFlags });
}

/** Opens a page from disk. `faults` collects errors and everything that leaves the page. */
export async function openPage(browser, url, options = {}) {
  const context = await browser.newContext({ viewport: { width: 1280, height: 860 }, ...options });
  const page = await context.newPage();
  const faults = [];
  page.on('pageerror', (error) => faults.push(`error: ${error.message}`));
  page.on('console', (message) => {
    if (['error', 'warning'].includes(message.type())) faults.push(`console: ${message.text()}`);
  });
  page.on('request', (request) => {
    const isOwn = /^(blob|data):/.test(request.url()) || request.url().split('#')[0] === url.split('#')[0];
    if (!isOwn) faults.push(`request: ${request.url()}`);
  });
  await page.goto(url);
  return { page, faults, close: () => context.close() };
}

/** Waits until the full result of the latest settings is shown. */
export async function waitForResult(page) {
  await page.waitForFunction(() => {
    const view = document.getElementById('view');
    const time = document.getElementById('figure-time').textContent;
    return !view.hasAttribute('aria-busy') && time.includes('ms') && !time.includes('preview');
  });
  await page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
}

export async function openPicture(page, file) {
  await page.setInputFiles('#file', file);
  await page.waitForSelector('#view:not(.is-empty)');
  await waitForResult(page);
}

/** Sets a slider as a hand does. */
export async function slide(page, id, value) {
  await page.locator(`#${id}`).fill(String(value));
}

/** The mean of what the canvas shows between two columns, given as shares of its width. */
export function meanShown(page, from = 0, to = 1) {
  return page.evaluate(
    ([first, last]) => {
      const canvas = document.getElementById('canvas');
      const left = Math.floor(canvas.width * first);
      const width = Math.floor(canvas.width * last) - left;
      const copy = new OffscreenCanvas(width, canvas.height).getContext('2d', { willReadFrequently: true });
      copy.drawImage(canvas, -left, 0);
      const { data } = copy.getImageData(0, 0, width, canvas.height);
      return data.reduce((sum, value) => sum + value, 0) / data.length;
    },
    [from, to],
  );
}
