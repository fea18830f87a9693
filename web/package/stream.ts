import { Frame, type Planes } from './frame.js';
import { Module, TluxError } from './module.js';
import type { Picture } from './pixels.js';
import { kOptionOffset, kOptionsBytes, kReportBytes, readReport } from './records.js';

/** `natural` is what we recommend; `exact` has the tones of the library's run, to the byte. */
export type Tones = 'natural' | 'exact';

/** How a stream works. `tones` sets the defaults. */
export interface StreamOptions {
  /** The starting point, `natural` by default. */
  readonly tones?: Tones;
  /** Luma 0 to 255, or 16 to 235 as in most video. `full` by default. */
  readonly range?: 'full' | 'limited';
  /** Frames over which the tones follow the scene, 0 to 1000. */
  readonly steady?: number;
  /** How far chroma follows luma, 0 to 100 per cent. */
  readonly colour?: number;
  /** Whether smooth areas are kept smooth. */
  readonly fineWindows?: boolean;
}

/** What a stream saw in its latest frame: maps of an eighth of its size, copied. */
export interface Report {
  readonly width: number;
  readonly height: number;
  /** Luma of the reference frame. */
  readonly reference: Uint8Array;
  /** Retinex score of each of its pixels. */
  readonly scores: Int16Array;
  /** Gain of each of its pixels; 1024 keeps the tone. */
  readonly gains: Uint16Array;
  /** Mean log luminance of the frame: 1024 · ln of linear light 0 to 4095. */
  readonly mean: number;
  /** Log luminance that scores are counted from, in the same unit. */
  readonly anchor: number;
  /** Whether the frame did not follow the one before it. */
  readonly isCut: boolean;
}

const kDefaultStrength = 30;
const kTones = { exact: 0, natural: 1 } as const;
const kRanges = { full: 0, limited: 1 } as const;

function numberOf<Name extends string>(
  table: Record<Name, number>,
  name: Name,
  option: string,
): number {
  const value = table[name];
  if (value === undefined) throw new TluxError(2, `${option}: ${String(name)}`);
  return value;
}

/** Calls `use` with the address of a TLUX_STREAM_OPTIONS. */
function withOptions<Result>(
  module: Module,
  options: StreamOptions,
  use: (address: number, view: DataView) => Result,
): Result {
  return module.withBlock(kOptionsBytes, (address, view) => {
    const tones = numberOf(kTones, options.tones ?? 'natural', 'tones');
    module.check(module.calls.TLUX_InitStreamOptions(address, kOptionsBytes, tones));
    const set = (offset: number, value: number | undefined) => {
      if (value === undefined) return;
      if (!Number.isInteger(value) || value < 0) throw new TluxError(2, `an option of ${value}`);
      view.setUint32(offset, value, true);
    };
    set(kOptionOffset.range, numberOf(kRanges, options.range ?? 'full', 'range'));
    set(kOptionOffset.steady, options.steady);
    set(kOptionOffset.colour, options.colour);
    set(kOptionOffset.fineWindows, options.fineWindows === undefined ? undefined : Number(options.fineWindows));
    set(kOptionOffset.threads, 1);
    return use(address, view);
  });
}

/** The options for `tones`. */
export function readOptions(module: Module, tones: Tones): Required<StreamOptions> {
  return withOptions(module, { tones }, (_, view) => ({
    tones,
    range: view.getUint32(kOptionOffset.range, true) === kRanges.full ? 'full' : 'limited',
    steady: view.getUint32(kOptionOffset.steady, true),
    colour: view.getUint32(kOptionOffset.colour, true),
    fineWindows: view.getUint32(kOptionOffset.fineWindows, true) !== 0,
  }));
}

/** Optimizes the dynamic range of one picture or frame after the other. */
export class Stream {
  readonly #module: Module;
  #handle: number; // address of the pointer to the stream

  constructor(module: Module, options: StreamOptions = {}) {
    this.#module = module;
    this.#handle = module.allocate(4);
    try {
      withOptions(module, options, (address) => {
        module.check(module.calls.TLUX_OpenStream(0, address, this.#handle));
      });
    } catch (error) {
      module.free(this.#handle);
      throw error;
    }
  }

  /** Changes how the stream works from the next frame on. */
  change(options: StreamOptions): void {
    const stream = this.#stream;
    withOptions(this.#module, options, (address) => {
      this.#module.check(this.#module.calls.TLUX_ChangeStream(stream, address));
    });
  }

  /**
   * The enhanced picture; alpha is kept. For an `ImageData` the result is one too.
   * @param strength of the effect: 0 keeps the tones, 100 is strong.
   */
  enhance<Kind extends Picture>(picture: Kind, strength = kDefaultStrength): Kind {
    using frame = new Frame(this.#module, picture.width, picture.height);
    frame.setPicture(picture);
    this.run(frame, frame, strength);
    const result = copyOf(picture);
    frame.toPicture(result);
    return result;
  }

  /** The enhanced planes. */
  enhancePlanes(planes: Planes, strength = kDefaultStrength): Planes {
    if (planes.width % 2 !== 0 || planes.height % 2 !== 0) {
      throw new TluxError(2, `planes of ${planes.width} × ${planes.height}: the sides must be even`);
    }
    using frame = new Frame(this.#module, planes.width, planes.height, planes.order);
    frame.setPlanes(planes);
    this.run(frame, frame, strength);
    return frame.toPlanes();
  }

  /** Enhances a frame into another one of its size and order, or in place. */
  run(source: Frame, output: Frame, strength = kDefaultStrength): void {
    const stream = this.#stream;
    if (!Number.isInteger(strength) || strength < 0) throw new TluxError(2, `strength ${strength}`);
    const code = source.withRecord((from) =>
      output.withRecord((to) => this.#module.calls.TLUX_RunStream(stream, from, to, strength)),
    );
    this.#module.check(code);
  }

  /** What the stream saw in its latest frame. */
  explain(): Report {
    const stream = this.#stream;
    return this.#module.withBlock(kReportBytes, (address, view) => {
      view.setUint32(0, kReportBytes, true);
      this.#module.check(this.#module.calls.TLUX_ReadStreamReport(stream, address));
      const { referencePitch, reference, scores, gains, ...rest } = readReport(view);
      const { width, height } = rest;
      const luma = new Uint8Array(width * height);
      for (let row = 0; row < height; row++) {
        luma.set(this.#module.bytes(reference + row * referencePitch, width), row * width);
      }
      const memory = this.#module.calls.memory.buffer;
      return {
        ...rest,
        reference: luma,
        scores: new Int16Array(memory, scores, width * height).slice(),
        gains: new Uint16Array(memory, gains, width * height).slice(),
      };
    });
  }

  /** Forgets earlier frames. */
  reset(): void {
    this.#module.calls.TLUX_ResetStream(this.#stream);
  }

  /** Frees the memory. The stream cannot be used any more. */
  close(): void {
    if (this.#handle === 0) return;
    this.#module.calls.TLUX_CloseStream(this.#handle);
    this.#module.free(this.#handle);
    this.#handle = 0;
  }

  [Symbol.dispose](): void {
    this.close();
  }

  get #stream(): number {
    if (this.#handle === 0) throw new TluxError(2, 'the stream is closed');
    return this.#module.view(this.#handle, 4).getUint32(0, true);
  }
}

function copyOf<Kind extends Picture>(picture: Kind): Kind {
  const { data, width, height } = picture;
  if (typeof ImageData !== 'undefined' && picture instanceof ImageData) {
    return new ImageData(new Uint8ClampedArray(data), width, height) as Picture as Kind;
  }
  return { ...picture, data: data.slice() };
}
