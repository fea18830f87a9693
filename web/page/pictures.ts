// Where pictures come from: the chooser, a drop, the clipboard, the examples, the page itself.

export type OpenPicture = (content: Blob, name: string) => void;

function fromBase64(text: string, type: string): Blob {
  const bytes = Uint8Array.from(atob(text), (letter) => letter.charCodeAt(0));
  return new Blob([bytes], { type });
}

function fromDataUrl(url: string): Blob {
  const [head, content] = url.split(',', 2);
  return fromBase64(content, head.slice('data:'.length).split(';')[0]);
}

function firstFile(transfer: DataTransfer | null): File | null {
  return transfer?.files[0] ?? null;
}

/** The picture that `tlux tune` wrote into the page. */
function openEmbedded(open: OpenPicture): void {
  const element = document.getElementById('embedded');
  if (element === null) return;
  const { name = 'picture', type = '' } = element.dataset;
  open(fromBase64(element.textContent ?? '', type), name);
}

function acceptDrops(target: HTMLElement, open: OpenPicture): void {
  let depth = 0; // drags enter children before they leave parents
  const mark = (change: number) => {
    depth = Math.max(0, depth + change);
    target.classList.toggle('is-over', depth > 0);
  };
  document.addEventListener('dragenter', () => mark(1));
  document.addEventListener('dragleave', () => mark(-1));
  document.addEventListener('dragover', (event) => event.preventDefault());
  document.addEventListener('drop', (event) => {
    event.preventDefault();
    mark(-depth);
    const file = firstFile(event.dataTransfer);
    if (file !== null) open(file, file.name);
  });
}

export function acceptPictures(view: HTMLElement, input: HTMLInputElement, open: OpenPicture): void {
  acceptDrops(view, open);
  document.addEventListener('paste', (event) => {
    const file = firstFile(event.clipboardData);
    if (file !== null) open(file, file.name);
  });
  input.addEventListener('change', () => {
    const file = input.files?.[0];
    if (file !== undefined) open(file, file.name);
    input.value = ''; // so that the same file can be chosen again
  });
  for (const example of document.querySelectorAll<HTMLElement>('.example')) {
    const picture = example.querySelector('img');
    example.addEventListener('click', () => {
      if (picture !== null) open(fromDataUrl(picture.src), example.dataset['name'] ?? 'example');
    });
  }
  openEmbedded(open);
}
