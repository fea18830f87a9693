import { Module, TluxError } from './module.js';
import { checkSize, Pixels, type Picture } from './pixels.js';
import { kNv12, kNv21, withImage, withPicture } from './records.js';

/** Order of the chroma bytes: Cb first (NV12) or Cr first (NV21). */
export type ChromaOrder = 'nv12' | 'nv21';

/** The planes of a frame of even size, 8 bits, rows without gaps. */
export interface Planes {
  readonly width: number;
  readonly height: number;
  /** `width` × `height` bytes. */
  readonly luma: Uint8Array;
  /** `width` × `height / 2` bytes: pairs for each 2 × 2 pixels. */
  readonly chroma: Uint8Array;
  /** `nv12` by default. */
  readonly order?: ChromaOrder;
}

function checkLength(name: string, data: { length: number }, expected: number): void {
  if (data.length === expected) return;
  throw new TluxError(2, `${name} has ${data.length} bytes instead of ${expected}`);
}

const toEven = (side: number) => side + (side % 2);

/** A frame in the library's memory, to be filled, run and read any number of times. */
export class Frame {
  readonly width: number;
  readonly height: number;
  readonly order: ChromaOrder;
  readonly #module: Module;
  #block: number;

  /** A frame for pictures of this size: its own sides are rounded up to even. */
  constructor(module: Module, width: number, height: number, order: ChromaOrder = 'nv12') {
    checkSize(width, height);
    this.width = toEven(width);
    this.height = toEven(height);
    this.order = order;
    this.#module = module;
    this.#block = module.allocate((this.width * this.height * 3) / 2);
  }

  /** Luma in the library's memory: valid until the next call. */
  get luma(): Uint8Array {
    return this.#module.bytes(this.#address, this.width * this.height);
  }

  /** Chroma in the library's memory: valid until the next call. */
  get chroma(): Uint8Array {
    const pixels = this.width * this.height;
    return this.#module.bytes(this.#address + pixels, pixels / 2);
  }

  setPlanes(planes: Planes): void {
    const pixels = this.width * this.height;
    checkLength('luma', planes.luma, pixels);
    checkLength('chroma', planes.chroma, pixels / 2);
    this.luma.set(planes.luma);
    this.chroma.set(planes.chroma);
  }

  /** A copy of the planes. */
  toPlanes(): Planes {
    const { width, height, order } = this;
    return { width, height, order, luma: this.luma.slice(), chroma: this.chroma.slice() };
  }

  /** Fills the frame from a picture, without its alpha. */
  setPicture(picture: Picture): void {
    this.#withPixels(picture, (pixels) => {
      this.withRecord((frame) =>
        withPicture(this.#module, pixels, (record) => {
          this.#module.check(this.#module.calls.TLUX_PictureToFrame(record, frame));
        }),
      );
    });
  }

  /** Writes the frame into a picture, which keeps its alpha. */
  toPicture(picture: Picture): void {
    this.#withPixels(picture, (pixels) => {
      this.withRecord((frame) =>
        withPicture(this.#module, pixels, (record) => {
          this.#module.check(this.#module.calls.TLUX_FrameToPicture(frame, record));
        }),
      );
      if (pixels !== picture) picture.data.set(pixels.data);
    });
  }

  /** Frees the memory. The frame cannot be used any more. */
  close(): void {
    if (this.#block === 0) return;
    this.#module.free(this.#block);
    this.#block = 0;
  }

  [Symbol.dispose](): void {
    this.close();
  }

  /** @internal */
  withRecord<Result>(use: (address: number) => Result): Result {
    const luma = this.#address;
    const { width, height } = this;
    const format = this.order === 'nv12' ? kNv12 : kNv21;
    const image = { format, width, height, luma, chroma: luma + width * height };
    return withImage(this.#module, image, use);
  }

  get #address(): number {
    if (this.#block === 0) throw new TluxError(2, 'the frame is closed');
    return this.#block;
  }

  /** Calls `use` with the picture in the library's memory. */
  #withPixels(picture: Picture, use: (pixels: Pixels) => void): void {
    if (picture instanceof Pixels) {
      use(picture);
      return;
    }
    const { data, width, height } = picture;
    using pixels = new Pixels(this.#module, width, height);
    checkLength('the picture', data, pixels.data.length);
    pixels.data.set(data);
    use(pixels);
  }
}
