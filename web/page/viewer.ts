import type { Overlay } from './messages.js';

export type Mode = 'divider' | 'sides' | 'after';

interface Point {
  readonly x: number;
  readonly y: number;
}

interface Elements {
  readonly view: HTMLElement;
  readonly canvas: HTMLCanvasElement;
  readonly divider: HTMLElement;
  readonly tagBefore: HTMLElement;
  readonly tagAfter: HTMLElement;
}

const kLargestZoom = 16; // screen pixels per picture pixel
const kZoomStep = 1.5;
const kPanStep = 60; // CSS pixels
const kDividerStep = 2; // per cent
const kGap = 2; // between two sides

/** The two pictures on a canvas, seen through one window: zoom and position are the same for both. */
export class Viewer {
  #before: ImageBitmap | null = null;
  #after: ImageBitmap | null = null;
  #overlay: HTMLCanvasElement | null = null;
  #overlayCell = 1;
  #width = 0; // of the picture
  #height = 0;
  #mode: Mode = 'divider';
  #position = 50; // of the divider, per cent
  #isHeld = false;
  #zoom: number | 'fit' = 'fit'; // screen pixels per picture pixel
  #centre: Point = { x: 0, y: 0 };
  #isScheduled = false;
  readonly #pointers = new Map<number, Point>();

  constructor(
    readonly elements: Elements,
    readonly onZoom: (text: string) => void,
  ) {
    const { view, divider } = elements;
    new ResizeObserver(() => this.#schedule()).observe(view);
    view.addEventListener('wheel', (event) => this.#turn(event), { passive: false });
    view.addEventListener('pointerdown', (event) => this.#press(event));
    view.addEventListener('pointermove', (event) => this.#move(event));
    for (const end of ['pointerup', 'pointercancel'] as const) {
      view.addEventListener(end, (event) => this.#pointers.delete(event.pointerId));
    }
    view.addEventListener('dblclick', (event) => this.#toggleZoom(this.#pointIn(event)));
    view.addEventListener('keydown', (event) => this.#type(event));
    divider.addEventListener('pointerdown', (event) => {
      if (event.button !== 0) return;
      event.stopPropagation();
      divider.setPointerCapture(event.pointerId);
    });
    divider.addEventListener('pointermove', (event) => {
      if (!divider.hasPointerCapture(event.pointerId)) return;
      event.stopPropagation();
      this.#moveDivider((100 * this.#pointIn(event).x) / view.clientWidth);
    });
    divider.addEventListener('dblclick', (event) => event.stopPropagation());
    divider.addEventListener('keydown', (event) => this.#typeOnDivider(event));
  }

  /** Shows another picture as a whole, and takes ownership of its bitmap. */
  open(before: ImageBitmap): void {
    this.#before?.close();
    this.#after?.close();
    this.#before = before;
    this.#after = null;
    this.#overlay = null;
    this.#width = before.width;
    this.#height = before.height;
    this.fit();
  }

  setAfter(after: ImageBitmap, overlay: Overlay | null): void {
    this.#after?.close();
    this.#after = after;
    this.#overlay = null;
    if (overlay !== null) {
      const canvas = document.createElement('canvas');
      canvas.width = overlay.pixels.width;
      canvas.height = overlay.pixels.height;
      canvas.getContext('2d')?.putImageData(overlay.pixels, 0, 0);
      this.#overlay = canvas;
      // The preview is smaller than the picture, and so are the cells on it.
      this.#overlayCell = (overlay.cell * this.#width) / after.width;
    }
    this.#schedule();
  }

  setMode(mode: Mode): void {
    this.#mode = mode;
    this.#schedule();
  }

  /** Shows the original everywhere while held. */
  hold(isHeld: boolean): void {
    this.#isHeld = isHeld;
    this.#schedule();
  }

  fit(): void {
    this.#zoom = 'fit';
    this.#centre = { x: this.#width / 2, y: this.#height / 2 };
    this.#schedule();
  }

  /** One pixel of the picture per screen pixel. */
  showPixels(): void {
    this.#zoomTo(1);
  }

  zoomIn(): void {
    this.#zoomTo(this.#screenScale * kZoomStep);
  }

  zoomOut(): void {
    this.#zoomTo(this.#screenScale / kZoomStep);
  }

  get #paneWidth(): number {
    const { clientWidth } = this.elements.view;
    return this.#mode === 'sides' ? (clientWidth - kGap) / 2 : clientWidth;
  }

  get #fitScale(): number {
    const { clientHeight } = this.elements.view;
    return Math.min(this.#paneWidth / this.#width, clientHeight / this.#height);
  }

  /** CSS pixels per picture pixel. */
  get #scale(): number {
    return this.#zoom === 'fit' ? this.#fitScale : this.#zoom / devicePixelRatio;
  }

  get #screenScale(): number {
    return this.#scale * devicePixelRatio;
  }

  #pointIn(event: MouseEvent): Point {
    const box = this.elements.view.getBoundingClientRect();
    return { x: event.clientX - box.left, y: event.clientY - box.top };
  }

  /** Offset of a point of the view from the middle of its pane. */
  #fromMiddle(point: Point): Point {
    const width = this.#paneWidth;
    const x = this.#mode === 'sides' && point.x > width ? point.x - width - kGap : point.x;
    return { x: x - width / 2, y: point.y - this.elements.view.clientHeight / 2 };
  }

  /** Zooms; what is at `point` of the view stays there. */
  #zoomTo(zoom: number, point?: Point): void {
    if (this.#before === null) return;
    const smallest = this.#fitScale * devicePixelRatio;
    const from = point === undefined ? { x: 0, y: 0 } : this.#fromMiddle(point);
    const old = this.#scale;
    this.#zoom = zoom <= smallest ? 'fit' : Math.min(zoom, kLargestZoom);
    const moved = 1 / old - 1 / this.#scale;
    this.#centre = { x: this.#centre.x + from.x * moved, y: this.#centre.y + from.y * moved };
    this.#schedule();
  }

  #toggleZoom(point: Point): void {
    if (this.#zoom === 'fit') this.#zoomTo(1, point);
    else this.fit();
  }

  #pan(x: number, y: number): void {
    const scale = this.#scale;
    this.#centre = { x: this.#centre.x - x / scale, y: this.#centre.y - y / scale };
    this.#schedule();
  }

  #turn(event: WheelEvent): void {
    if (this.#before === null) return;
    event.preventDefault();
    this.#zoomTo(this.#screenScale * Math.exp(-event.deltaY / 300), this.#pointIn(event));
  }

  #press(event: PointerEvent): void {
    if (this.#before === null || event.button !== 0) return;
    this.elements.view.setPointerCapture(event.pointerId);
    this.#pointers.set(event.pointerId, this.#pointIn(event));
  }

  #move(event: PointerEvent): void {
    const last = this.#pointers.get(event.pointerId);
    if (last === undefined) return;
    const point = this.#pointIn(event);
    const other = [...this.#pointers].find(([id]) => id !== event.pointerId)?.[1];
    this.#pointers.set(event.pointerId, point);
    if (other === undefined) {
      this.#pan(point.x - last.x, point.y - last.y);
      return;
    }
    const distance = (from: Point) => Math.hypot(from.x - other.x, from.y - other.y);
    const middle = { x: (point.x + other.x) / 2, y: (point.y + other.y) / 2 };
    this.#pan((point.x - last.x) / 2, (point.y - last.y) / 2);
    this.#zoomTo((this.#screenScale * distance(point)) / Math.max(1, distance(last)), middle);
  }

  #type(event: KeyboardEvent): void {
    if (event.target !== this.elements.view || event.ctrlKey || event.metaKey || event.altKey) return;
    const actions: Record<string, () => void> = {
      '+': () => this.zoomIn(),
      '=': () => this.zoomIn(),
      '-': () => this.zoomOut(),
      '0': () => this.fit(),
      '1': () => this.showPixels(),
      ArrowLeft: () => this.#pan(kPanStep, 0),
      ArrowRight: () => this.#pan(-kPanStep, 0),
      ArrowUp: () => this.#pan(0, kPanStep),
      ArrowDown: () => this.#pan(0, -kPanStep),
    };
    const action = actions[event.key];
    if (action === undefined) return;
    event.preventDefault();
    action();
  }

  #typeOnDivider(event: KeyboardEvent): void {
    const targets: Record<string, number> = {
      ArrowLeft: this.#position - kDividerStep,
      ArrowDown: this.#position - kDividerStep,
      ArrowRight: this.#position + kDividerStep,
      ArrowUp: this.#position + kDividerStep,
      PageDown: this.#position - 10,
      PageUp: this.#position + 10,
      Home: 0,
      End: 100,
    };
    const target = targets[event.key];
    if (target === undefined) return;
    event.preventDefault();
    event.stopPropagation();
    this.#moveDivider(target);
  }

  #moveDivider(position: number): void {
    this.#position = Math.min(100, Math.max(0, position));
    this.#schedule();
  }

  #schedule(): void {
    if (this.#isScheduled) return;
    this.#isScheduled = true;
    requestAnimationFrame(() => {
      this.#isScheduled = false;
      this.#draw();
    });
  }

  /** Keeps a picture larger than its pane covering it, and a smaller one in the middle. */
  #clampCentre(): void {
    const clamp = (centre: number, side: number, pane: number) => {
      const half = pane / (2 * this.#scale);
      return side <= 2 * half ? side / 2 : Math.min(side - half, Math.max(half, centre));
    };
    this.#centre = {
      x: clamp(this.#centre.x, this.#width, this.#paneWidth),
      y: clamp(this.#centre.y, this.#height, this.elements.view.clientHeight),
    };
  }

  #draw(): void {
    const { view, canvas } = this.elements;
    const { clientWidth: width, clientHeight: height } = view;
    const density = devicePixelRatio;
    const [columns, rows] = [Math.round(width * density), Math.round(height * density)];
    if (canvas.width !== columns || canvas.height !== rows) {
      canvas.width = columns;
      canvas.height = rows;
    }
    const context = canvas.getContext('2d');
    if (context === null) return;
    context.setTransform(density, 0, 0, density, 0, 0);
    context.clearRect(0, 0, width, height);
    if (this.#before === null) return;
    this.#clampCentre();

    const pane = this.#paneWidth;
    const split = (width * this.#position) / 100;
    if (this.#isHeld || this.#after === null) {
      this.#drawPane(context, 0, width, width / 2, false);
    } else if (this.#mode === 'after') {
      this.#drawPane(context, 0, width, width / 2, true);
    } else if (this.#mode === 'divider') {
      this.#drawPane(context, 0, split, width / 2, false);
      this.#drawPane(context, split, width, width / 2, true);
    } else {
      this.#drawPane(context, 0, pane, pane / 2, false);
      this.#drawPane(context, pane + kGap, width, pane * 1.5 + kGap, true);
    }
    this.#describe();
  }

  /** Draws one picture between two columns of the view, its centre at column `middle`. */
  #drawPane(
    context: CanvasRenderingContext2D,
    left: number,
    right: number,
    middle: number,
    isAfter: boolean,
  ): void {
    const picture = isAfter ? this.#after : this.#before;
    if (picture === null || right <= left) return;
    const height = this.elements.view.clientHeight;
    const scale = this.#scale;
    const x = middle - this.#centre.x * scale;
    const y = height / 2 - this.#centre.y * scale;
    context.save();
    context.beginPath();
    context.rect(left, 0, right - left, height);
    context.clip();
    context.imageSmoothingEnabled = this.#screenScale < 2;
    context.imageSmoothingQuality = 'medium';
    context.drawImage(picture, x, y, this.#width * scale, this.#height * scale);
    if (isAfter && this.#overlay !== null) this.#drawOverlay(context, this.#overlay, x, y);
    context.restore();
  }

  #drawOverlay(context: CanvasRenderingContext2D, overlay: HTMLCanvasElement, x: number, y: number): void {
    const scale = this.#scale;
    context.beginPath(); // the last cells extend beyond the picture
    context.rect(x, y, this.#width * scale, this.#height * scale);
    context.clip();
    const cell = this.#overlayCell * scale;
    context.drawImage(overlay, x, y, overlay.width * cell, overlay.height * cell);
  }

  #describe(): void {
    const { view, canvas, divider, tagBefore, tagAfter } = this.elements;
    const isAlone = this.#isHeld || this.#after === null;
    divider.hidden = this.#mode !== 'divider' || isAlone;
    divider.style.left = `${this.#position}%`;
    const position = Math.round(this.#position);
    divider.setAttribute('aria-valuenow', String(position));
    divider.setAttribute('aria-valuetext', `${position} % before`);
    tagBefore.hidden = !isAlone && this.#mode === 'after';
    tagAfter.hidden = isAlone;
    view.classList.toggle('is-zoomed', this.#zoom !== 'fit');
    const size = `${this.#width} by ${this.#height} pixels`;
    const shown = isAlone ? 'Original picture' : 'Picture before and after';
    canvas.setAttribute('aria-label', `${shown}, ${size}`);
    this.onZoom(`${Math.round(100 * this.#screenScale)} %`);
  }
}
