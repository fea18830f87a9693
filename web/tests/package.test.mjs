import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtemp, mkdir, readdir, readFile, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';
import { test } from 'node:test';

import { joinPlanes, makePicture, makePlanes } from './frames.mjs';
import { kPackage, kTypescript, runCommand, withoutCommand } from './places.mjs';

const { load, TluxError } = await import(pathToFileURL(join(kPackage, 'tlux.js')).href);
const tlux = await load();

async function withFolder(use) {
  const folder = await mkdtemp(join(tmpdir(), 'tlux-web-'));
  try {
    return await use(folder);
  } finally {
    await rm(folder, { recursive: true });
  }
}

const meanOf = (bytes) => bytes.reduce((sum, byte) => sum + byte, 0) / bytes.length;

test('exact planes have the bytes of the command', { skip: withoutCommand }, async () => {
  await withFolder(async (folder) => {
    for (const [width, height, strength] of [[1296, 944, 50], [64, 48, 100]]) {
      const planes = makePlanes(width, height);
      const [input, output] = [join(folder, 'in.nv12'), join(folder, 'out.nv12')];
      await writeFile(input, joinPlanes(planes));
      runCommand('enhance', input, '-o', output, '--size', `${width}x${height}`, '--format', 'nv12',
        '--strength', String(strength), '--quiet', '--exact');
      const stream = new tlux.Stream({ tones: 'exact' });
      const result = stream.enhancePlanes(planes, strength);
      stream.close();
      assert.deepEqual(Buffer.from(joinPlanes(result)), await readFile(output), `${width} × ${height}`);
    }
  });
});

test('a picture gets lighter in its shadows and keeps its alpha, whatever its size', () => {
  const stream = new tlux.Stream();
  for (const [width, height] of [[320, 240], [321, 241], [1, 1], [17, 2]]) {
    const picture = makePicture(width, height);
    const before = picture.data.slice();
    const result = stream.enhance(picture, 60);
    assert.deepEqual(picture.data, before, 'the source stays as it is');
    assert.equal(result.data.length, before.length);
    const alphaOf = (data) => data.filter((_, i) => i % 4 === 3);
    assert.deepEqual(alphaOf(result.data), alphaOf(before));
    if (width > 300) assert.ok(meanOf(result.data) > meanOf(before) + 2);
  }
  stream.close();
});

test('a gray picture goes to a frame and back unchanged', () => {
  const picture = { width: 33, height: 7, data: new Uint8ClampedArray(33 * 7 * 4) };
  picture.data.forEach((_, i) => (picture.data[i] = (i >> 2) & 255));
  const frame = new tlux.Frame(33, 7);
  assert.deepEqual([frame.width, frame.height], [34, 8]);
  frame.setPicture(picture);
  const result = { ...picture, data: picture.data.slice().fill(9) };
  frame.toPicture(result);
  frame.close();
  const expected = picture.data.map((value, i) => (i % 4 === 3 ? 9 : value));
  assert.deepEqual(result.data, expected);
});

test('pixels in the memory of the library give what others give', () => {
  const picture = makePicture(75, 41);
  const stream = new tlux.Stream();
  const expected = stream.enhance(picture, 50);
  stream.reset();
  const [pixels, frame] = [new tlux.Pixels(75, 41), new tlux.Frame(75, 41)];
  pixels.data.set(picture.data);
  frame.setPicture(pixels);
  stream.run(frame, frame, 50);
  frame.toPicture(pixels);
  assert.deepEqual(pixels.data.slice(), expected.data);
  for (const part of [stream, frame, pixels]) part.close();
  assert.throws(() => pixels.data, /closed/);
});

test('NV21 is NV12 with its chroma the other way round', () => {
  const swap = (chroma) => chroma.map((_, i) => chroma[i ^ 1]);
  const nv12 = makePlanes(96, 80);
  const nv21 = { ...nv12, order: 'nv21', chroma: swap(nv12.chroma) };
  const stream = new tlux.Stream({ tones: 'exact' });
  const [one, other] = [stream.enhancePlanes(nv12, 40), stream.enhancePlanes(nv21, 40)];
  stream.close();
  assert.deepEqual(one.luma, other.luma);
  assert.deepEqual(one.chroma, swap(other.chroma));
});

test('options change the result, and a stream can change them', () => {
  const planes = makePlanes(160, 128);
  const stream = new tlux.Stream({ tones: 'natural', colour: 100 });
  const full = stream.enhancePlanes(planes, 60);
  stream.change({ tones: 'natural', colour: 0 });
  stream.reset();
  const plain = stream.enhancePlanes(planes, 60);
  stream.close();
  assert.notDeepEqual(full.chroma, plain.chroma);
  assert.equal(tlux.options('exact').colour, 100);
  assert.equal(tlux.options('exact').steady, 0);
});

test('a report has the maps of the frame', () => {
  const stream = new tlux.Stream();
  assert.throws(() => stream.explain(), TluxError);
  stream.enhancePlanes(makePlanes(200, 120), 50);
  const report = stream.explain();
  stream.close();
  assert.deepEqual([report.width, report.height], [26, 16]);
  for (const map of [report.reference, report.scores, report.gains]) {
    assert.equal(map.length, 26 * 16);
    assert.ok(new Set(map).size > 10);
  }
  assert.equal(report.isCut, true);
});

test('bad arguments are refused with a reason', () => {
  const stream = new tlux.Stream();
  const picture = makePicture(8, 8);
  const refused = [
    () => new tlux.Stream({ colour: 101 }),
    () => new tlux.Stream({ steady: -1 }),
    () => new tlux.Stream({ tones: 'other' }),
    () => stream.enhance(picture, -1),
    () => stream.enhance(picture, 1.5),
    () => stream.enhance({ ...picture, width: 9 }, 30),
    () => stream.enhance({ ...picture, width: 0, height: 0, data: new Uint8Array() }, 30),
    () => stream.enhancePlanes({ ...makePlanes(8, 8), width: 7 }, 30),
    () => stream.enhancePlanes({ ...makePlanes(8, 8), luma: new Uint8Array(3) }, 30),
  ];
  for (const call of refused) assert.throws(call, TluxError, call.toString());
  stream.enhance(picture, 30); // still works
  stream.close();
  stream.close();
  assert.throws(() => stream.enhance(picture, 30), /closed/);
});

test('closing gives the memory back', () => {
  // 2 MB a round; without release the rounds would need more than the 4 GB there are.
  const picture = makePicture(640, 480);
  for (let round = 0; round < 40; round++) {
    const frames = Array.from({ length: 60 }, () => new tlux.Frame(1280, 1280));
    const stream = new tlux.Stream();
    if (round % 20 === 0) stream.enhance(picture, 30);
    stream.close();
    for (const frame of frames) frame.close();
  }
});

test('the packed package is typed, for projects with and without the DOM', async () => {
  await withFolder(async (folder) => {
    const [{ filename }] = JSON.parse(
      execFileSync('npm', ['pack', '--json', '--pack-destination', folder], {
        cwd: kPackage,
        stdio: ['ignore', 'pipe', 'ignore'],
        encoding: 'utf8',
      }),
    );
    const place = join(folder, 'node_modules/tlux');
    await mkdir(place, { recursive: true });
    execFileSync('tar', ['xf', join(folder, filename), '-C', place, '--strip-components=1']);
    const names = await readdir(place);
    for (const name of ['tlux.js', 'tlux.d.ts', 'tlux.wasm', 'README.md']) assert.ok(names.includes(name), name);

    const consumer = join(folder, 'consumer.mts');
    await writeFile(join(folder, 'package.json'), '{"type": "module"}');
    await writeFile(
      consumer,
      `import { load, type Picture, type Report } from 'tlux';
       declare const console: { log(text: string): void };
       const tlux = await load();
       using stream = new tlux.Stream({ tones: 'exact' });
       const picture: Picture = { data: new Uint8ClampedArray(16 * 16 * 4), width: 16, height: 16 };
       const result: Picture = stream.enhance(picture, 35);
       const report: Report = stream.explain();
       console.log(JSON.stringify([tlux.version, result.data.length, report.gains.length]));
      `,
    );
    for (const lib of ['ES2022,ESNext.Disposable', 'ES2022,ESNext.Disposable,DOM']) {
      const options = ['--strict', '--target', 'ES2022', '--module', 'NodeNext', '--lib', lib];
      execFileSync(process.execPath, [kTypescript, ...options, consumer], { stdio: 'inherit' });
    }
    const printed = execFileSync(process.execPath, [consumer.replace('.mts', '.mjs')], { encoding: 'utf8' });
    assert.deepEqual(JSON.parse(printed), [tlux.version, 16 * 16 * 4, 4]);
  });
});
