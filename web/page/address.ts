import type { Settings } from './messages.js';

function numberIn(text: string | null, fallback: number): number {
  const value = text === null || text.trim() === '' ? NaN : Number(text);
  return Number.isFinite(value) ? Math.min(100, Math.max(0, Math.round(value))) : fallback;
}

/** The settings in the address, as in `#strength=35&colour=50&tones=exact`. */
export function readAddress(fallback: Settings): Settings {
  const values = new URLSearchParams(location.hash.slice(1));
  const tones = values.get('tones');
  return {
    strength: numberIn(values.get('strength'), fallback.strength),
    colour: numberIn(values.get('colour'), fallback.colour),
    tones: tones === 'exact' || tones === 'natural' ? tones : fallback.tones,
  };
}

export function writeAddress(settings: Settings): void {
  const { strength, colour, tones } = settings;
  const rest = tones === 'exact' ? '&tones=exact' : `&colour=${colour}`;
  history.replaceState(null, '', `#strength=${strength}${rest}`);
}
