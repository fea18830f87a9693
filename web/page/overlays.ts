import type { Frame, Report } from '../package/tlux.js';
import {
  colorAt,
  kClippedBlack,
  kClippedWhite,
  kDiverging,
  kGray,
  type Color,
} from './color_scales.js';
import type { Overlay, OverlayKind } from './messages.js';

const kReduction = 8; // from a frame to its maps
const kMapAlpha = 215;
const kGainStops = 2; // the scale of gains ranges from a quarter to four times
const kMarkCells = 1_000_000;

function paint(width: number, height: number, colorOf: (i: number) => Color, alpha: number): ImageData {
  const pixels = new ImageData(width, height);
  for (let i = 0; i < width * height; i++) {
    pixels.data.set(colorOf(i), 4 * i);
    pixels.data[4 * i + 3] = alpha;
  }
  return pixels;
}

/** The magnitude that 99 of 100 scores stay below. */
function limitOf(scores: Int16Array): number {
  const magnitudes = Uint16Array.from(scores, Math.abs).sort();
  return Math.max(1, magnitudes[Math.floor((magnitudes.length - 1) * 0.99)]);
}

/** Marks cells that contain a pixel of luma 0 or 255. */
function paintClipped(frame: Frame): Overlay {
  const { width, height, luma } = frame;
  const cell = Math.max(1, Math.ceil(Math.sqrt((width * height) / kMarkCells)));
  const columns = Math.ceil(width / cell);
  const pixels = new ImageData(columns, Math.ceil(height / cell));
  for (let y = 0; y < height; y++) {
    const row = Math.floor(y / cell) * columns;
    for (let x = 0; x < width; x++) {
      const value = luma[y * width + x];
      if (value !== 0 && value !== 255) continue;
      const at = 4 * (row + Math.floor(x / cell));
      pixels.data.set(value === 0 ? kClippedBlack : kClippedWhite, at);
      pixels.data[at + 3] = 255;
    }
  }
  return { pixels, cell, limit: 0 };
}

export function paintOverlay(kind: OverlayKind, result: Frame, report: () => Report): Overlay | null {
  if (kind === 'none') return null;
  if (kind === 'clipped') return paintClipped(result);
  const { width, height, reference, scores, gains } = report();
  if (kind === 'reference') {
    const colorOf = (i: number) => colorAt(kGray, reference[i] / 255);
    return { pixels: paint(width, height, colorOf, 255), cell: kReduction, limit: 0 };
  }
  if (kind === 'gain') {
    const colorOf = (i: number) =>
      colorAt(kDiverging, 0.5 + Math.log2(Math.max(1, gains[i]) / 1024) / (2 * kGainStops));
    return { pixels: paint(width, height, colorOf, kMapAlpha), cell: kReduction, limit: kGainStops };
  }
  const limit = limitOf(scores);
  const colorOf = (i: number) => colorAt(kDiverging, 0.5 + scores[i] / (2 * limit));
  return { pixels: paint(width, height, colorOf, kMapAlpha), cell: kReduction, limit };
}
