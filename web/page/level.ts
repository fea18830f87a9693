import type { Frame, Pixels, Stream, Tlux } from '../package/tlux.js';
import type { Settings } from './messages.js';

/** Pixels of each luma. */
export function countLuma(frame: Frame): Uint32Array {
  const counts = new Uint32Array(256);
  const { luma } = frame;
  for (let i = 0; i < luma.length; i++) counts[luma[i]]++;
  return counts;
}

/** The picture at one size: its frame, the frame of the latest result, and pixels for either. */
export class Level {
  readonly source: Frame;
  readonly output: Frame;
  readonly sourceCounts: Uint32Array;
  readonly #pixels: Pixels; // with the alpha of the picture
  readonly #owned: { close(): void }[] = [];
  #latest = ''; // settings of the result in `output`

  constructor(tlux: Tlux, { data, width, height }: ImageData) {
    try {
      this.#pixels = this.#own(new tlux.Pixels(width, height));
      this.source = this.#own(new tlux.Frame(width, height));
      this.output = this.#own(new tlux.Frame(width, height));
    } catch (error) {
      this.close();
      throw error;
    }
    this.#pixels.data.set(data);
    this.source.setPicture(this.#pixels);
    this.sourceCounts = countLuma(this.source);
  }

  /** Computes the result for these settings. The stream's report then describes it. */
  run(stream: Stream, settings: Settings): void {
    const { strength, colour, tones } = settings;
    stream.change(tones === 'exact' ? { tones } : { tones, colour });
    stream.reset();
    this.#latest = '';
    stream.run(this.source, this.output, strength);
    this.#latest = JSON.stringify(settings);
  }

  has(settings: Settings): boolean {
    return this.#latest === JSON.stringify(settings);
  }

  /** The result as a picture, with the alpha of the original: valid until the next call. */
  toPicture(): ImageData {
    this.output.toPicture(this.#pixels);
    return new ImageData(this.#pixels.data, this.#pixels.width, this.#pixels.height);
  }

  close(): void {
    for (const part of this.#owned) part.close();
  }

  #own<Part extends { close(): void }>(part: Part): Part {
    this.#owned.push(part);
    return part;
  }
}
