import { Module, TluxError } from './module.js';

/** A packed picture of RGBA bytes, rows without gaps. An `ImageData` is one. */
export interface Picture {
  readonly data: Uint8ClampedArray | Uint8Array;
  readonly width: number;
  readonly height: number;
}

const kLargestSide = 0x7fff;

export function checkSize(width: number, height: number): void {
  const isSide = (side: number) => Number.isInteger(side) && side >= 1 && side <= kLargestSide;
  if (isSide(width) && isSide(height)) return;
  throw new TluxError(2, `a picture of ${width} × ${height}`);
}

/** A picture in the library's memory: frames read and fill it without a copy. */
export class Pixels implements Picture {
  readonly width: number;
  readonly height: number;
  readonly #module: Module;
  #block: number;

  constructor(module: Module, width: number, height: number) {
    checkSize(width, height);
    this.width = width;
    this.height = height;
    this.#module = module;
    this.#block = module.allocate(width * height * 4);
    this.data.fill(0);
  }

  /** The bytes in the library's memory: valid until the next call. */
  get data(): Uint8ClampedArray<ArrayBuffer> {
    const length = this.width * this.height * 4;
    return new Uint8ClampedArray(this.#module.calls.memory.buffer, this.address, length);
  }

  /** Frees the memory. The picture cannot be used any more. */
  close(): void {
    if (this.#block === 0) return;
    this.#module.free(this.#block);
    this.#block = 0;
  }

  [Symbol.dispose](): void {
    this.close();
  }

  /** @internal */
  get address(): number {
    if (this.#block === 0) throw new TluxError(2, 'the picture is closed');
    return this.#block;
  }
}
