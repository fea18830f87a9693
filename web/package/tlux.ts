/// <reference lib="esnext.disposable" preserve="true" />
import './dispose.js';

import { Frame, type ChromaOrder } from './frame.js';
import { loadModule } from './module.js';
import { Pixels } from './pixels.js';
import { kVersionText } from './records.js';
import { readOptions, Stream, type StreamOptions, type Tones } from './stream.js';

export type { ChromaOrder, Frame, Planes } from './frame.js';
export { TluxError } from './module.js';
export type { Picture, Pixels } from './pixels.js';
export type { Report, Stream, StreamOptions, Tones } from './stream.js';

/** The loaded library. */
export interface Tlux {
  readonly version: string;
  readonly Stream: new (options?: StreamOptions) => Stream;
  readonly Frame: new (width: number, height: number, order?: ChromaOrder) => Frame;
  readonly Pixels: new (width: number, height: number) => Pixels;
  /** The options of a starting point. */
  options(tones: Tones): Required<StreamOptions>;
}

/**
 * Loads the library.
 * @param content the bytes of tlux.wasm; by default the file next to this one is read or fetched.
 */
export async function load(content?: Uint8Array | ArrayBuffer): Promise<Tlux> {
  const module = await loadModule(content);
  const record = module.calls.TLUX_GetVersion();
  return {
    version: module.text(module.view(record, kVersionText + 4).getUint32(kVersionText, true)),
    Stream: class extends Stream {
      constructor(options?: StreamOptions) {
        super(module, options);
      }
    },
    Frame: class extends Frame {
      constructor(width: number, height: number, order?: ChromaOrder) {
        super(module, width, height, order);
      }
    },
    Pixels: class extends Pixels {
      constructor(width: number, height: number) {
        super(module, width, height);
      }
    },
    options: (tones) => readOptions(module, tones),
  };
}
