const kHeight = 88;

function outline(counts: Uint32Array, tallest: number): string {
  const heights = Array.from(counts, (count) => kHeight * (1 - Math.sqrt(Math.min(1, count / tallest))));
  return heights.map((y, x) => `${x === 0 ? 'M' : 'L'}${x} ${y.toFixed(1)}`).join('');
}

const sum = (counts: Uint32Array) => counts.reduce((total, count) => total + count, 0);

export function meanOf(counts: Uint32Array): number {
  return counts.reduce((total, count, luma) => total + count * luma, 0) / sum(counts);
}

/** Percentage of pixels with this luma, as text. */
export function percentAt(counts: Uint32Array, luma: number): string {
  const share = (100 * counts[luma]) / sum(counts);
  return `${share.toFixed(share < 9.95 ? 1 : 0)} %`;
}

/** Draws both curves. Heights follow the square root; clipped pixels do not affect the scale. */
export function drawHistogram(svg: SVGSVGElement, before: Uint32Array, after: Uint32Array): void {
  const inner = [before, after].flatMap((counts) => Array.from(counts.subarray(1, 255)));
  const tallest = Math.max(1, ...inner);
  const area = `${outline(before, tallest)}L255 ${kHeight}L0 ${kHeight}Z`;
  svg.querySelector('.before')?.setAttribute('d', area);
  svg.querySelector('.after')?.setAttribute('d', outline(after, tallest));
  const means = `${meanOf(before).toFixed(0)} before and ${meanOf(after).toFixed(0)} after`;
  svg.setAttribute('aria-label', `Histograms of luma: the mean is ${means}`);
}
