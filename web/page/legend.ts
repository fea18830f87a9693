import { kClippedBlack, kClippedWhite, kDiverging, kGray, toCss } from './color_scales.js';
import type { Overlay, OverlayKind } from './messages.js';

interface Legend {
  readonly title: string;
  readonly scale: string;
  readonly ticks: readonly string[];
}

function legendOf(kind: OverlayKind, limit: number): Legend {
  switch (kind) {
    case 'gain':
      return {
        title: 'Gain: how far tones move',
        scale: toCss(kDiverging),
        ticks: ['darker ÷4', '1', 'lighter ×4'],
      };
    case 'score':
      return {
        title: 'Score: contrast with the surroundings',
        scale: toCss(kDiverging),
        ticks: [`−${limit}`, '0', `+${limit}`],
      };
    case 'reference':
      return { title: 'Reference: what the library looks at', scale: toCss(kGray), ticks: ['0', 'luma', '255'] };
    default: {
      const half = [kClippedBlack, kClippedBlack, kClippedWhite, kClippedWhite];
      return { title: 'Result: luma at its limits', scale: toCss(half), ticks: ['black', 'white'] };
    }
  }
}

export function showLegend(element: HTMLElement, kind: OverlayKind, overlay: Overlay | null): void {
  element.hidden = overlay === null;
  if (overlay === null) return;
  const legend = legendOf(kind, overlay.limit);
  const [title, scale, ticks] = element.children as unknown as HTMLElement[];
  title.textContent = legend.title;
  scale.style.background = legend.scale;
  ticks.replaceChildren(
    ...legend.ticks.map((text) => {
      const tick = document.createElement('span');
      tick.textContent = text;
      return tick;
    }),
  );
}
