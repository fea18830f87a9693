export type Color = readonly [number, number, number];

/** From darkened to lifted; the middle is unchanged. */
export const kDiverging: readonly Color[] = [
  [33, 102, 172],
  [146, 197, 222],
  [247, 247, 247],
  [253, 184, 99],
  [179, 88, 6],
];

export const kGray: readonly Color[] = [
  [0, 0, 0],
  [255, 255, 255],
];

export const kClippedWhite: Color = [255, 46, 46];
export const kClippedBlack: Color = [40, 120, 255];

/** The colour for a value from 0 to 1. */
export function colorAt(scale: readonly Color[], share: number): Color {
  const position = Math.min(1, Math.max(0, share)) * (scale.length - 1);
  const index = Math.min(Math.floor(position), scale.length - 2);
  const part = position - index;
  const [from, to] = [scale[index], scale[index + 1]];
  const mix = (i: 0 | 1 | 2) => from[i] + (to[i] - from[i]) * part;
  return [mix(0), mix(1), mix(2)];
}

export function toCss(scale: readonly Color[]): string {
  return `linear-gradient(to right, ${scale.map((color) => `rgb(${color.join(' ')})`).join(', ')})`;
}
