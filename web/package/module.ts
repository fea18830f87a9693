/** The functions of the library that the package calls. Addresses and sizes are numbers. */
export interface Exports {
  readonly memory: { readonly buffer: ArrayBuffer };
  _initialize(): void;
  MMemAlloc(manager: number, size: bigint): number;
  MMemFree(manager: number, block: number): void;
  TLUX_GetVersion(): number;
  TLUX_InitStreamOptions(options: number, size: number, tones: number): number;
  TLUX_OpenStream(manager: number, options: number, out: number): number;
  TLUX_ChangeStream(stream: number, options: number): number;
  TLUX_RunStream(stream: number, source: number, output: number, strength: number): number;
  TLUX_ResetStream(stream: number): void;
  TLUX_ReadStreamReport(stream: number, report: number): number;
  TLUX_CloseStream(stream: number): void;
  TLUX_PictureToFrame(picture: number, frame: number): number;
  TLUX_FrameToPicture(frame: number, picture: number): number;
}

const kHeap = 0;

/** A call that the library rejected, with its result code. */
export class TluxError extends Error {
  constructor(
    readonly code: number,
    message: string,
  ) {
    super(message);
    this.name = 'TluxError';
  }
}

function reasonOf(code: number): string {
  switch (code) {
    case 2:
      return 'an argument is out of range';
    case 4:
      return 'not enough memory';
    default:
      return `result code ${code}`;
  }
}

/** The library in its memory. Views of the memory are created for each use, because it may have grown. */
export class Module {
  constructor(readonly calls: Exports) {}

  bytes(address: number, length: number): Uint8Array {
    return new Uint8Array(this.calls.memory.buffer, address, length);
  }

  view(address: number, length: number): DataView {
    return new DataView(this.calls.memory.buffer, address, length);
  }

  allocate(size: number): number {
    const block = this.calls.MMemAlloc(kHeap, BigInt(size));
    if (block === 0) throw new TluxError(4, reasonOf(4));
    return block >>> 0;
  }

  free(block: number): void {
    this.calls.MMemFree(kHeap, block);
  }

  /** Calls `use` with a zeroed block that lives as long as the call. */
  withBlock<Result>(size: number, use: (address: number, view: DataView) => Result): Result {
    const block = this.allocate(size);
    try {
      this.bytes(block, size).fill(0);
      return use(block, this.view(block, size));
    } finally {
      this.free(block);
    }
  }

  check(code: number): void {
    if (code !== 0) throw new TluxError(code, reasonOf(code));
  }

  text(address: number): string {
    const memory = new Uint8Array(this.calls.memory.buffer);
    return new TextDecoder().decode(memory.subarray(address, memory.indexOf(0, address)));
  }
}

/** The file next to this one: read from disk in Node, fetched in a browser. */
async function readModule(): Promise<Uint8Array | ArrayBuffer> {
  const url = new URL('./tlux.wasm', import.meta.url);
  if (url.protocol === 'file:' && typeof process === 'object') {
    const { readFile } = await import('node:fs/promises');
    return readFile(url);
  }
  const response = await fetch(url);
  if (!response.ok) throw new Error(`${url.href}: HTTP status ${response.status}`);
  return response.arrayBuffer();
}

export async function loadModule(content?: Uint8Array | ArrayBuffer): Promise<Module> {
  const bytes = (content ?? (await readModule())) as BufferSource;
  const module = await WebAssembly.compile(bytes);
  // What the C library asks of the system: an empty environment, and nothing else.
  const imports: Record<string, Record<string, (...words: number[]) => number>> = {};
  const kNotSupported = 58;
  for (const { module: group, name } of WebAssembly.Module.imports(module)) {
    (imports[group] ??= {})[name] = (...words) => {
      if (name !== 'environ_sizes_get') return kNotSupported;
      for (const address of words) new DataView(calls.memory.buffer).setUint32(address, 0, true);
      return 0;
    };
  }
  const instance = await WebAssembly.instantiate(module, imports);
  const calls = instance.exports as unknown as Exports;
  calls._initialize();
  return new Module(calls);
}
