import { readAddress, writeAddress } from './address.js';
import { Assistant } from './assistant.js';
import { drawHistogram, meanOf, percentAt } from './histogram.js';
import { Latest } from './latest.js';
import { showLegend } from './legend.js';
import type { OverlayKind, Rendered, Settings, Thumbnail } from './messages.js';
import { commandFor, resultName } from './names.js';
import { acceptPictures } from './pictures.js';
import { Viewer, type Mode } from './viewer.js';

const kStrengths = [10, 20, 30, 50, 80];
const kRest = 180; // milliseconds without a change until the full picture is computed
const kDefaults: Settings = { strength: 30, colour: 50, tones: 'natural' };

function find<Kind extends HTMLElement = HTMLElement>(id: string): Kind {
  const element = document.getElementById(id);
  if (element === null) throw new Error(`the page has no ${id}`);
  return element as Kind;
}

const view = find('view');
const strength = find<HTMLInputElement>('strength');
const colour = find<HTMLInputElement>('colour');
const overlay = find<HTMLSelectElement>('overlay');
const hold = find<HTMLButtonElement>('hold');
const needPicture = [...document.querySelectorAll<HTMLInputElement>('#toolbar button, #toolbar input')].concat(
  ['save-jpeg', 'save-png', 'overlay'].map((id) => find<HTMLInputElement>(id)),
);

const assistant = new Assistant();
const viewer = new Viewer(
  {
    view,
    canvas: find<HTMLCanvasElement>('canvas'),
    divider: find('divider'),
    tagBefore: find('tag-before'),
    tagAfter: find('tag-after'),
  },
  (zoom) => (find('zoom').textContent = zoom),
);

let settings = kDefaults;
let name = 'photo.jpg'; // of the picture
let isOpen = false;
let shown = ''; // settings of the full result on the screen
let rest: ReturnType<typeof setTimeout> | 0 = 0; // timer

function announce(text: string): void {
  find('status').textContent = text;
}

function showError(error: unknown): void {
  const message = error instanceof Error ? error.message : String(error);
  find('error').textContent = message;
  find('error').hidden = false;
}

// Results

function showFigures({ before, counts, milliseconds, isFull, after }: Rendered): void {
  drawHistogram(find('histogram') as unknown as SVGSVGElement, before, counts);
  find('figure-mean').textContent = `${meanOf(before).toFixed(0)} → ${meanOf(counts).toFixed(0)}`;
  find('figure-white').textContent = `${percentAt(before, 255)} → ${percentAt(counts, 255)}`;
  find('figure-black').textContent = `${percentAt(before, 0)} → ${percentAt(counts, 0)}`;
  const size = `${((after.width * after.height) / 1e6).toFixed(1)} MP`;
  find('figure-time').textContent = `${milliseconds.toFixed(0)} ms, ${size}${isFull ? '' : ' preview'}`;
}

async function render(isFull: boolean): Promise<void> {
  const kind = overlay.value as OverlayKind;
  const wish = JSON.stringify([settings, kind]);
  if (wish === shown) return;
  view.setAttribute('aria-busy', 'true');
  try {
    const result = await assistant.call('render', { settings, isFull, overlay: kind });
    showFigures(result);
    showLegend(find('legend'), kind, result.overlay);
    viewer.setAfter(result.after, result.overlay);
    shown = result.isFull ? wish : '';
    if (result.isFull) announce(`Done in ${result.milliseconds.toFixed(0)} milliseconds`);
  } catch (error) {
    showError(error);
  }
}

const renderer = new Latest(render, () => {
  if (rest === 0) view.removeAttribute('aria-busy');
});

/** A quick preview now, the full picture once nothing has changed for a while. */
function renderSoon(): void {
  if (!isOpen) return;
  clearTimeout(rest);
  rest = setTimeout(() => {
    rest = 0;
    renderer.ask(true);
  }, kRest);
  renderer.ask(false);
}

function markStrength(): void {
  for (const button of document.querySelectorAll<HTMLElement>('#strip button')) {
    button.setAttribute('aria-pressed', String(Number(button.dataset['strength']) === settings.strength));
  }
}

function showThumbnail({ strength: value, picture }: Thumbnail): void {
  const canvas = document.querySelector<HTMLCanvasElement>(`#strip [data-strength="${value}"] canvas`);
  if (canvas === null) return;
  canvas.width = picture.width;
  canvas.height = picture.height;
  canvas.getContext('2d')?.drawImage(picture, 0, 0);
  picture.close();
}

const strip = new Latest(
  async (wish: Settings) => {
    try {
      const thumbnails = await assistant.call('strip', { settings: wish, strengths: kStrengths });
      thumbnails.forEach(showThumbnail);
    } catch (error) {
      showError(error);
    }
  },
  () => {},
);

// Settings

function showSettings(): void {
  const isExact = settings.tones === 'exact';
  strength.value = find('strength-value').textContent = String(settings.strength);
  colour.value = String(isExact ? 100 : settings.colour);
  find('colour-value').textContent = `${colour.value} %`;
  colour.disabled = isExact;
  const choice = document.querySelector<HTMLInputElement>(`[name="tones"][value="${settings.tones}"]`);
  if (choice !== null) choice.checked = true;
  find('command').textContent = commandFor(name, settings);
  markStrength();
}

function change(part: Partial<Settings>): void {
  const old = settings;
  settings = { ...settings, ...part };
  showSettings();
  writeAddress(settings);
  renderSoon();
  if (isOpen && (settings.colour !== old.colour || settings.tones !== old.tones)) strip.ask(settings);
}

function makeStrip(): void {
  const buttons = kStrengths.map((value) => {
    const button = document.createElement('button');
    button.type = 'button';
    button.dataset['strength'] = String(value);
    button.setAttribute('aria-label', `Strength ${value}`);
    const canvas = document.createElement('canvas');
    canvas.setAttribute('aria-hidden', 'true');
    button.append(canvas, String(value));
    button.addEventListener('click', () => change({ strength: value }));
    return button;
  });
  find('strip').replaceChildren(...buttons);
}

// Pictures

async function open(content: Blob, newName: string): Promise<void> {
  find('error').hidden = true;
  view.setAttribute('aria-busy', 'true');
  announce(`Opening ${newName}`);
  clearTimeout(rest);
  rest = 0;
  renderer.drop();
  try {
    const { width, height, before } = await assistant.call('open', { content });
    name = newName;
    isOpen = true;
    shown = '';
    view.classList.remove('is-empty');
    view.tabIndex = 0;
    view.setAttribute('role', 'group');
    view.setAttribute('aria-label', 'Picture: plus and minus zoom, arrows move, 0 fits, 1 shows pixels');
    find('title').textContent = `${newName} · ${width} × ${height}`;
    for (const control of needPicture) control.disabled = false;
    view.style.setProperty('--aspect', `${width} / ${height}`);
    viewer.open(before);
    showSettings();
    renderSoon();
    strip.ask(settings);
  } catch (error) {
    view.removeAttribute('aria-busy');
    announce('');
    showError(new Error(`${newName}: ${error instanceof Error ? error.message : String(error)}`));
    if (isOpen) renderSoon();
  }
}

async function save(type: 'image/jpeg' | 'image/png', extension: string): Promise<void> {
  try {
    const url = URL.createObjectURL(await assistant.call('save', { settings, type }));
    const link = document.createElement('a');
    link.href = url;
    link.download = resultName(name, extension);
    link.click();
    setTimeout(() => URL.revokeObjectURL(url), 60_000);
    announce(`Saved ${link.download}`);
  } catch (error) {
    showError(error);
  }
}

async function copyCommand(): Promise<void> {
  const command = find('command');
  try {
    await navigator.clipboard.writeText(command.textContent ?? '');
    find('copy').textContent = 'Copied';
    announce('Copied');
    setTimeout(() => (find('copy').textContent = 'Copy'), 1500);
  } catch {
    getSelection()?.selectAllChildren(command); // not allowed: selected for Ctrl-C
  }
}

function connectHold(): void {
  const set = (isHeld: boolean) => {
    viewer.hold(isHeld);
    hold.setAttribute('aria-pressed', String(isHeld));
  };
  hold.addEventListener('pointerdown', (event) => {
    hold.setPointerCapture(event.pointerId);
    set(true);
  });
  for (const end of ['pointerup', 'pointercancel', 'keyup', 'blur'] as const) {
    hold.addEventListener(end, () => set(false));
  }
  hold.addEventListener('keydown', (event) => {
    if (event.key === ' ' || event.key === 'Enter') set(true);
  });
  hold.addEventListener('contextmenu', (event) => event.preventDefault()); // of a long touch
}

function connect(): void {
  const chooseFile = () => find('file').click();
  find('open').addEventListener('click', chooseFile);
  find('choose').addEventListener('click', chooseFile);
  strength.addEventListener('input', () => change({ strength: Number(strength.value) }));
  colour.addEventListener('input', () => change({ colour: Number(colour.value) }));
  overlay.addEventListener('change', renderSoon);
  for (const radio of document.querySelectorAll<HTMLInputElement>('[name="tones"]')) {
    radio.addEventListener('change', () => change({ tones: radio.value as Settings['tones'] }));
  }
  for (const radio of document.querySelectorAll<HTMLInputElement>('[name="mode"]')) {
    radio.addEventListener('change', () => viewer.setMode(radio.value as Mode));
  }
  find('zoom-in').addEventListener('click', () => viewer.zoomIn());
  find('zoom-out').addEventListener('click', () => viewer.zoomOut());
  find('zoom-fit').addEventListener('click', () => viewer.fit());
  find('zoom-full').addEventListener('click', () => viewer.showPixels());
  find('save-jpeg').addEventListener('click', () => void save('image/jpeg', 'jpg'));
  find('save-png').addEventListener('click', () => void save('image/png', 'png'));
  find('copy').addEventListener('click', () => void copyCommand());
  addEventListener('hashchange', () => change(readAddress(settings)));
  connectHold();
}

async function start(): Promise<void> {
  for (const control of needPicture) control.disabled = true;
  makeStrip();
  settings = readAddress(settings);
  showSettings();
  connect();
  const defaults = assistant.call('defaults', null);
  acceptPictures(view, find<HTMLInputElement>('file'), (content, title) => void open(content, title));
  try {
    settings = readAddress({ ...settings, colour: (await defaults).colour });
    showSettings();
  } catch (error) {
    showError(error);
  }
}

void start();
