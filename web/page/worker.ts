// Owns the library: all slow work is done here, one request after the other.
import { load, type Stream, type Tlux } from '../package/tlux.js';
import compressed from 'tlux.wasm';
import { countLuma, Level } from './level.js';
import type { Answer, CallName, Calls, Question, Settings } from './messages.js';
import { paintOverlay } from './overlays.js';

const kPreviewPixels = 1_200_000;
const kThumbnailPixels = 30_000;
const kJpegQuality = 0.95;

interface Levels {
  full: Level;
  preview: Level; // the full one when the picture is small
  thumbnail: Level;
}

async function loadInlined(): Promise<Tlux> {
  const stream = new Blob([compressed]).stream().pipeThrough(new DecompressionStream('gzip'));
  return load(await new Response(stream).arrayBuffer());
}

class Studio {
  readonly #stream: Stream;
  #levels: Levels | null = null;

  constructor(readonly tlux: Tlux) {
    this.#stream = new tlux.Stream();
  }

  async open(content: Blob): Promise<Calls['open']['reply']> {
    const picture = await decode(content);
    const { width, height } = picture;
    this.#close();
    const levels: Level[] = [];
    const add = (scale: number) => {
      const level = new Level(this.tlux, toPixels(picture, scale));
      levels.push(level);
      return level;
    };
    try {
      const full = add(1);
      const scaled = (pixels: number) => {
        const scale = Math.sqrt(pixels / (width * height));
        return scale < 1 ? add(scale) : full;
      };
      this.#levels = { full, preview: scaled(kPreviewPixels), thumbnail: scaled(kThumbnailPixels) };
    } catch {
      for (const level of levels) level.close();
      throw new Error(`${width} × ${height} pixels are more than this browser has memory for.`);
    }
    return { width, height, before: picture };
  }

  async render(request: Calls['render']['request']): Promise<Calls['render']['reply']> {
    const { settings, overlay } = request;
    const { full, preview } = this.#opened;
    const level = request.isFull ? full : preview;
    const milliseconds = this.#run(level, settings);
    const result = level.toPicture();
    return {
      after: await createImageBitmap(result),
      isFull: level === full,
      before: level.sourceCounts,
      counts: countLuma(level.output),
      overlay: paintOverlay(overlay, level.output, () => this.#stream.explain()),
      milliseconds,
    };
  }

  async strip(request: Calls['strip']['request']): Promise<Calls['strip']['reply']> {
    const level = this.#opened.thumbnail;
    const thumbnails = [];
    for (const strength of request.strengths) {
      this.#run(level, { ...request.settings, strength });
      thumbnails.push({ strength, picture: await createImageBitmap(level.toPicture()) });
    }
    return thumbnails;
  }

  async save(request: Calls['save']['request']): Promise<Blob> {
    const level = this.#opened.full;
    if (!level.has(request.settings)) this.#run(level, request.settings);
    const result = level.toPicture();
    const canvas = new OffscreenCanvas(result.width, result.height);
    contextOf(canvas).putImageData(result, 0, 0);
    return canvas.convertToBlob({ type: request.type, quality: kJpegQuality });
  }

  get #opened(): Levels {
    if (this.#levels === null) throw new Error('There is no picture yet.');
    return this.#levels;
  }

  #run(level: Level, settings: Settings): number {
    const start = performance.now();
    level.run(this.#stream, settings);
    return performance.now() - start;
  }

  #close(): void {
    if (this.#levels === null) return;
    for (const level of new Set(Object.values(this.#levels))) level.close();
    this.#levels = null;
  }
}

async function decode(content: Blob): Promise<ImageBitmap> {
  try {
    return await createImageBitmap(content, { imageOrientation: 'from-image' });
  } catch {
    throw new Error('This is no picture that the browser can read. JPEG, PNG and WebP work everywhere.');
  }
}

function contextOf(canvas: OffscreenCanvas): OffscreenCanvasRenderingContext2D {
  const context = canvas.getContext('2d', { willReadFrequently: true });
  if (context === null) throw new Error('This browser cannot draw such a large picture.');
  return context;
}

function toPixels(picture: ImageBitmap, scale: number): ImageData {
  const width = Math.max(1, Math.round(picture.width * scale));
  const height = Math.max(1, Math.round(picture.height * scale));
  const context = contextOf(new OffscreenCanvas(width, height));
  context.imageSmoothingQuality = 'high';
  context.drawImage(picture, 0, 0, width, height);
  return context.getImageData(0, 0, width, height);
}

const studio = loadInlined().then((tlux) => new Studio(tlux));

async function answer(question: Question): Promise<unknown> {
  const { name, request } = question;
  const owner = await studio;
  const handlers: { [Name in CallName]: (request: never) => unknown } = {
    defaults: () => ({ colour: owner.tlux.options('natural').colour }),
    open: ({ content }: Calls['open']['request']) => owner.open(content),
    render: (what: Calls['render']['request']) => owner.render(what),
    strip: (what: Calls['strip']['request']) => owner.strip(what),
    save: (what: Calls['save']['request']) => owner.save(what),
  };
  return handlers[name](request as never);
}

/** What is transferred to the page instead of copied. */
function transferables(reply: unknown): Transferable[] {
  if (reply === null || typeof reply !== 'object') return [];
  return Object.values(reply as object).flatMap((value: unknown) =>
    value instanceof ImageBitmap ? [value] : Array.isArray(reply) ? transferables(value) : [],
  );
}

const post = (message: Answer, transfer: Transferable[] = []) =>
  (self as unknown as Worker).postMessage(message, transfer);

let queue: Promise<void> = Promise.resolve();
self.onmessage = (event: MessageEvent<Question>) => {
  const { id } = event.data;
  queue = queue.then(async () => {
    try {
      const reply = await answer(event.data);
      post({ id, reply }, transferables(reply));
    } catch (error) {
      post({ id, error: error instanceof Error ? error.message : String(error) });
    }
  });
};
