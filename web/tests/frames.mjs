// Frames for the tests, the same in Node and in the browser.

/** Planes with a wide range of tones, edges, texture and saturated chroma; pseudo-random, repeatable. */
export function makePlanes(width, height) {
  let state = 0x2545f491;
  const noise = () => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
    return state >>> 24;
  };
  const luma = new Uint8Array(width * height);
  for (let y = 0; y < height; y++) {
    for (let x = 0; x < width; x++) {
      const ramp = (x * 160) / width + ((x >> 6) + (y >> 5)) % 2 * 70;
      luma[y * width + x] = Math.min(255, Math.floor(ramp + noise() / 10));
    }
  }
  const chroma = Uint8Array.from({ length: (width * height) / 2 }, noise);
  return { width, height, luma, chroma, order: 'nv12' };
}

/** A picture of RGBA bytes with every alpha. */
export function makePicture(width, height) {
  const data = new Uint8ClampedArray(width * height * 4);
  for (let i = 0; i < width * height; i++) {
    const x = i % width;
    const y = Math.floor(i / width);
    data.set([(x * 255) / width, (y * 200) / height, ((x * y) >> 4) & 127, i & 255], 4 * i);
  }
  return { data, width, height };
}

export function joinPlanes({ luma, chroma }) {
  const bytes = new Uint8Array(luma.length + chroma.length);
  bytes.set(luma);
  bytes.set(chroma, luma.length);
  return bytes;
}

export async function hashOf(bytes) {
  const { subtle } = globalThis.crypto ?? (await import('node:crypto')).webcrypto; // Node 18 has no global one
  const digest = await subtle.digest('SHA-256', bytes);
  return Array.from(new Uint8Array(digest), (byte) => byte.toString(16).padStart(2, '0')).join('');
}
