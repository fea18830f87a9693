import assert from 'node:assert/strict';
import { createServer } from 'node:http';
import { copyFile, mkdir, mkdtemp, readFile, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { pathToFileURL } from 'node:url';

import { launch, meanShown, openPage, openPicture, slide, waitForResult } from './browser.mjs';
import { hashOf, joinPlanes, makePlanes } from './frames.mjs';
import { kAxe, kPackage, kPageUrl, kPhoto, kScreenshots, runCommand, withoutCommand } from './places.mjs';

const { load } = await import(pathToFileURL(join(kPackage, 'tlux.js')).href);

let browser;
let folder;
before(async () => {
  browser = await launch();
  folder = await mkdtemp(join(tmpdir(), 'tlux-page-'));
  await mkdir(kScreenshots, { recursive: true });
});
after(async () => {
  await browser?.close();
  await rm(folder, { recursive: true });
});

/** Gives the test a page, and afterwards insists that nothing went wrong in it or left it. */
async function withPage({ hash = '', ...options }, use) {
  const { page, faults, close } = await openPage(browser, kPageUrl + hash, options);
  try {
    await use(page);
    assert.deepEqual(faults, []);
  } finally {
    await close();
  }
}

/** The pixels of a picture as the browser decodes it. */
function decode(page, content, type) {
  return page
    .evaluate(
      async ([text, kind]) => {
        const bytes = Uint8Array.from(atob(text), (letter) => letter.charCodeAt(0));
        const bitmap = await createImageBitmap(new Blob([bytes], { type: kind }));
        const context = new OffscreenCanvas(bitmap.width, bitmap.height).getContext('2d');
        context.drawImage(bitmap, 0, 0);
        const { data, width, height } = context.getImageData(0, 0, bitmap.width, bitmap.height);
        let letters = '';
        for (let i = 0; i < data.length; i += 8192) {
          letters += String.fromCharCode(...data.subarray(i, i + 8192));
        }
        return { text: btoa(letters), width, height };
      },
      [content.toString('base64'), type],
    )
    .then(({ text, width, height }) => ({
      width,
      height,
      data: new Uint8ClampedArray(Buffer.from(text, 'base64')),
    }));
}

async function download(page, button) {
  const [event] = await Promise.all([page.waitForEvent('download'), page.click(button)]);
  const path = join(folder, event.suggestedFilename());
  await event.saveAs(path);
  return { name: event.suggestedFilename(), content: await readFile(path) };
}

test('the slider changes the picture, and the address with it', async () => {
  await withPage({}, async (page) => {
    await openPicture(page, kPhoto);
    await page.check('[name="mode"][value="after"]', { force: true });
    const means = [];
    for (const strength of [0, 50, 100]) {
      await slide(page, 'strength', strength);
      await waitForResult(page);
      means.push(await meanShown(page));
    }
    assert.ok(means[0] + 2 < means[1] && means[1] + 2 < means[2], means.join(' '));
    assert.match(page.url(), /#strength=100&colour=\d+$/);
    await page.click('#strip [data-strength="20"]');
    await waitForResult(page);
    assert.equal(await page.inputValue('#strength'), '20');
    assert.match(await page.textContent('#command'), /^tlux enhance night-bridge-lamps\.jpg .*--strength 20 --colour \d+$/);
  });
});

test('pictures come by drop, by paste and from the examples, and stand upright', async () => {
  // A quarter turn, as cameras note it: the EXIF segment behind the first two bytes of the file.
  const turn = Buffer.from('ffe10022457869660000' + '4d4d002a00000008' + '0001' + '011200030000000100060000' + '00000000', 'hex');
  const photo = await readFile(kPhoto);
  const turned = Buffer.concat([photo.subarray(0, 2), turn, photo.subarray(2)]).toString('base64');
  await withPage({}, async (page) => {
    const give = (kind, name) =>
      page.evaluate(
        ([text, event, title]) => {
          const bytes = Uint8Array.from(atob(text), (letter) => letter.charCodeAt(0));
          const transfer = new DataTransfer();
          transfer.items.add(new File([bytes], title, { type: 'image/jpeg' }));
          const options = { bubbles: true, cancelable: true };
          const made =
            event === 'drop'
              ? new DragEvent(event, { ...options, dataTransfer: transfer })
              : new ClipboardEvent(event, { ...options, clipboardData: transfer });
          document.body.dispatchEvent(made);
        },
        [turned, kind, name],
      );
    const expectTitle = (text) =>
      page.waitForFunction((title) => document.getElementById('title').textContent === title, text);
    await page.click('.example >> nth=1');
    await expectTitle('cyclists.jpg · 1280 × 852');
    await give('drop', 'dropped.jpg');
    await expectTitle('dropped.jpg · 952 × 1302');
    await give('paste', 'pasted.jpg');
    await expectTitle('pasted.jpg · 952 × 1302');
    await waitForResult(page);
  });
});

test('a shared address brings its settings', async () => {
  await withPage({ hash: '#strength=35&tones=exact' }, async (page) => {
    assert.equal(await page.inputValue('#strength'), '35');
    assert.ok(await page.isChecked('[value="exact"]'));
    assert.ok(await page.isDisabled('#colour'));
    assert.match(await page.textContent('#command'), /--strength 35 --exact$/);
  });
});

test('downloads hold what the package makes of the picture', async () => {
  await withPage({ hash: '#strength=40&tones=exact' }, async (page) => {
    await openPicture(page, kPhoto);
    const png = await download(page, '#save-png');
    assert.equal(png.name, 'night-bridge-lamps-tlux.png');
    const tlux = await load();
    const stream = new tlux.Stream({ tones: 'exact' });
    const expected = stream.enhance(await decode(page, await readFile(kPhoto), 'image/jpeg'), 40);
    stream.close();
    const shown = await decode(page, png.content, 'image/png');
    assert.equal(await hashOf(shown.data), await hashOf(expected.data));

    const jpeg = await download(page, '#save-jpeg');
    const lossy = await decode(page, jpeg.content, 'image/jpeg');
    assert.deepEqual([lossy.width, lossy.height], [shown.width, shown.height]);
    let difference = 0;
    lossy.data.forEach((value, i) => (difference += Math.abs(value - shown.data[i])));
    assert.ok(difference / lossy.data.length < 3);
  });
});

test('the package makes the same bytes in the browser as in Node', async () => {
  const types = { js: 'text/javascript', wasm: 'application/wasm', mjs: 'text/javascript' };
  const server = createServer(async (request, response) => {
    const name = request.url.slice(1);
    const place = name === 'frames.mjs' ? new URL('frames.mjs', import.meta.url) : join(kPackage, name);
    const content = name === '' ? '<!DOCTYPE html><link rel="icon" href="data:,">' : await readFile(place);
    response.setHeader('Content-Type', types[name.split('.').pop()] ?? 'text/html');
    response.end(content);
  });
  await new Promise((done) => server.listen(0, '127.0.0.1', done));
  const context = await browser.newContext();
  try {
    const page = await context.newPage();
    await page.goto(`http://127.0.0.1:${server.address().port}/`);
    const hashes = await page.evaluate(async () => {
      const { load: loadHere } = await import('/tlux.js');
      const { hashOf: hash, joinPlanes: join, makePlanes: make } = await import('/frames.mjs');
      const stream = new (await loadHere()).Stream({ tones: 'exact' });
      const planes = await hash(join(stream.enhancePlanes(make(1296, 944), 50)));
      const picture = stream.enhance(new ImageData(30, 20), 30);
      return { planes, isImageData: picture instanceof ImageData };
    });
    const stream = new (await load()).Stream({ tones: 'exact' });
    const expected = await hashOf(joinPlanes(stream.enhancePlanes(makePlanes(1296, 944), 50)));
    stream.close();
    assert.deepEqual(hashes, { planes: expected, isImageData: true });
  } finally {
    await context.close();
    server.close();
  }
});

test('before and after: divider, sides, hold, zoom', async () => {
  await withPage({ hash: '#strength=90' }, async (page) => {
    await openPicture(page, kPhoto);
    const divider = page.locator('#divider');
    const positionOf = async () => Number(await divider.getAttribute('aria-valuenow'));
    const original = async () => meanShown(page, 0, 1);

    await divider.focus();
    await page.keyboard.press('End');
    await page.waitForFunction(() => document.getElementById('divider').ariaValueNow === '100');
    const dark = await original();
    await page.keyboard.press('Home');
    await page.waitForFunction(() => document.getElementById('divider').ariaValueNow === '0');
    const light = await original();
    assert.ok(light > dark + 5, `${dark} ${light}`);

    const box = await page.locator('#view').boundingBox();
    await page.mouse.move(box.x + 2, box.y + box.height / 2);
    await page.mouse.down();
    await page.mouse.move(box.x + box.width * 0.7, box.y + box.height / 2, { steps: 4 });
    await page.mouse.up();
    await page.waitForFunction(() => document.getElementById('divider').ariaValueNow === '70');
    await divider.press('ArrowLeft');
    await page.waitForFunction(() => document.getElementById('divider').ariaValueNow === '68');
    assert.equal(await positionOf(), 68);

    await page.check('[name="mode"][value="sides"]', { force: true });
    await page.waitForSelector('#divider', { state: 'hidden' });
    assert.ok((await meanShown(page, 0.55, 1)) > (await meanShown(page, 0, 0.45)) + 5);

    await page.check('[name="mode"][value="after"]', { force: true });
    await page.focus('#hold');
    await page.keyboard.down('Space');
    await page.waitForSelector('#tag-after', { state: 'hidden' });
    assert.ok(Math.abs((await original()) - dark) < 0.5);
    await page.keyboard.up('Space');
    await page.waitForSelector('#tag-after', { state: 'visible' });

    await page.click('#zoom-full');
    await page.waitForFunction(() => document.getElementById('zoom').textContent === '100 %');
    const shown = () => page.evaluate(() => document.getElementById('canvas').toDataURL());
    const still = await shown();
    await page.focus('#view');
    await page.keyboard.press('ArrowRight');
    await page.waitForTimeout(100);
    assert.notEqual(await shown(), still);
    await page.keyboard.press('0');
    await page.waitForFunction(() => document.getElementById('zoom').textContent !== '100 %');
  });
});

test('overlays show what the run saw, with a legend', async () => {
  await withPage({}, async (page) => {
    await openPicture(page, kPhoto);
    await page.check('[name="mode"][value="after"]', { force: true });
    const seen = new Set();
    for (const kind of ['none', 'gain', 'score', 'reference', 'clipped']) {
      await page.selectOption('#overlay', kind);
      await page.waitForTimeout(250);
      await waitForResult(page);
      seen.add(await page.evaluate(() => document.getElementById('canvas').toDataURL()));
      assert.equal(await page.isVisible('#legend'), kind !== 'none');
    }
    assert.equal(seen.size, 5);
  });
});

test('what is no picture is refused with a reason, and the page goes on', async () => {
  await withPage({}, async (page) => {
    const broken = join(folder, 'broken.jpg');
    await writeFile(broken, (await readFile(kPhoto)).subarray(0, 300));
    await page.setInputFiles('#file', broken);
    await page.waitForSelector('#error:not([hidden])');
    assert.match(await page.textContent('#error'), /^broken\.jpg: This is no picture that the browser can read/);
    await openPicture(page, kPhoto);
    assert.ok(await page.isHidden('#error'));
    await page.setInputFiles('#file', broken);
    await page.waitForSelector('#error:not([hidden])');
    await waitForResult(page);
    assert.match(await page.textContent('#title'), /^night-bridge-lamps\.jpg/);
  });
});

test('12 million pixels take less than a dozen codings of them as JPEG', async () => {
  await withPage({}, async (page) => {
    const large = await page.evaluate(async () => {
      const canvas = (globalThis.large = new OffscreenCanvas(4272, 2848));
      const context = canvas.getContext('2d');
      const gradient = context.createLinearGradient(0, 0, 4272, 2848);
      gradient.addColorStop(0, '#fff');
      gradient.addColorStop(1, '#120a04');
      context.fillStyle = gradient;
      context.fillRect(0, 0, 4272, 2848);
      for (let i = 0; i < 4000; i++) {
        context.fillStyle = `hsl(${i % 360} 60% ${i % 70}%)`;
        context.fillRect((i * 977) % 4272, (i * 641) % 2848, 40, 90);
      }
      const blob = await canvas.convertToBlob({ type: 'image/jpeg' });
      const bytes = new Uint8Array(await blob.arrayBuffer());
      let letters = '';
      for (let i = 0; i < bytes.length; i += 8192) letters += String.fromCharCode(...bytes.subarray(i, i + 8192));
      return btoa(letters);
    });
    const file = join(folder, 'large.jpg');
    await writeFile(file, Buffer.from(large, 'base64'));
    await openPicture(page, file);
    // Time of the processor, and how often the browser codes the picture as JPEG in it: neither a busy
    // machine nor a slow one counts.
    const session = await page.context().newCDPSession(page);
    await session.send('Performance.enable');
    const readTime = async () => {
      const { metrics } = await session.send('Performance.getMetrics');
      return metrics.find(({ name }) => name === 'ProcessTime').value * 1000;
    };
    const timeOf = async (work) => {
      const start = await readTime();
      await work();
      return (await readTime()) - start;
    };
    const code = () =>
      page.evaluate(async () => (await globalThis.large.convertToBlob({ type: 'image/jpeg' })).size);
    const codings = [];
    const times = [];
    for (const strength of [40, 50, 60]) {
      codings.push(await timeOf(code));
      times.push(
        await timeOf(async () => {
          await slide(page, 'strength', strength);
          await page.waitForFunction(() => document.getElementById('view').hasAttribute('aria-busy'));
          await waitForResult(page);
        }),
      );
    }
    const inWhole = (list) => list.map(Math.round).join(', ');
    console.log(`12 MP, preview and full: ${inWhole(times)} ms, coding: ${inWhole(codings)} ms`);
    assert.ok(Math.min(...times) < 12 * Math.min(...codings));
  });
});

test('the command opens the page with a picture in it', { skip: withoutCommand }, async () => {
  const file = join(folder, 'tune.html');
  runCommand('tune', kPhoto, '-o', file);
  const photo = join(folder, 'photo.jpg');
  await copyFile(kPhoto, photo);
  for (const refused of [[photo, '-o', photo], [join(folder, 'none.jpg'), '-o', join(folder, 'none.html')]]) {
    assert.throws(() => runCommand('tune', ...refused), { status: refused[0] === photo ? 1 : 2 });
  }
  assert.deepEqual(await readFile(photo), await readFile(kPhoto));
  const { page, faults, close } = await openPage(browser, pathToFileURL(file).href);
  try {
    await page.waitForSelector('#view:not(.is-empty)');
    await waitForResult(page);
    assert.match(await page.textContent('#title'), /^night-bridge-lamps\.jpg · 1302 × 952/);
    assert.deepEqual(faults, []);
  } finally {
    await close();
  }
});

describe('people who see little, use a keyboard, or hold a phone', () => {
  const kViews = {
    'desktop-light': { colorScheme: 'light' },
    'desktop-dark': { colorScheme: 'dark' },
    phone: { colorScheme: 'light', viewport: { width: 390, height: 844 }, hasTouch: true, isMobile: true, deviceScaleFactor: 2 },
  };
  for (const [name, options] of Object.entries(kViews)) {
    test(name, async () => {
      await withPage({ ...options, bypassCSP: true }, async (page) => {
        await page.addScriptTag({ path: kAxe });
        const check = async () => {
          const { violations } = await page.evaluate(() => globalThis.axe.run());
          assert.deepEqual(violations.map(({ id, nodes }) => `${id}: ${nodes.map((node) => node.html).join(' ')}`), []);
        };
        await check();
        await page.screenshot({ path: join(kScreenshots, `${name}-empty.png`) });
        await openPicture(page, kPhoto);
        await check();
        await page.screenshot({ path: join(kScreenshots, `${name}.png`), fullPage: name === 'phone' });
        const overflow = await page.evaluate(() => document.documentElement.scrollWidth - innerWidth);
        assert.ok(overflow <= 0, `${overflow} pixels wider than the screen`);
      });
    });
  }
});
