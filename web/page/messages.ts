// The messages between the page and its worker.
import type { Tones } from '../package/tlux.js';

export interface Settings {
  readonly strength: number;
  readonly colour: number;
  readonly tones: Tones;
}

export type OverlayKind = 'none' | 'gain' | 'score' | 'reference' | 'clipped';

/** A small picture to lay over the result: each of its pixels covers `cell` × `cell` of the result's. */
export interface Overlay {
  readonly pixels: ImageData;
  readonly cell: number;
  /** Largest value of a scale that depends on the picture, 0 for the others. */
  readonly limit: number;
}

export interface Opened {
  readonly width: number;
  readonly height: number;
  readonly before: ImageBitmap;
}

export interface Rendered {
  readonly after: ImageBitmap;
  readonly isFull: boolean;
  readonly before: Uint32Array; // pixels of each luma
  readonly counts: Uint32Array; // the same of the result
  readonly overlay: Overlay | null;
  readonly milliseconds: number; // of the library
}

export interface Thumbnail {
  readonly strength: number;
  readonly picture: ImageBitmap;
}

export interface Calls {
  defaults: { request: null; reply: { colour: number } };
  open: { request: { content: Blob }; reply: Opened };
  render: { request: { settings: Settings; isFull: boolean; overlay: OverlayKind }; reply: Rendered };
  strip: { request: { settings: Settings; strengths: readonly number[] }; reply: Thumbnail[] };
  save: { request: { settings: Settings; type: 'image/jpeg' | 'image/png' }; reply: Blob };
}

export type CallName = keyof Calls;

export interface Question<Name extends CallName = CallName> {
  readonly id: number;
  readonly name: Name;
  readonly request: Calls[Name]['request'];
}

export interface Answer {
  readonly id: number;
  readonly reply?: unknown;
  readonly error?: string;
}
