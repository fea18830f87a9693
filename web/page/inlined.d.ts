// What build.mjs substitutes for these names.
declare module 'tlux.wasm' {
  /** The module, compressed by gzip. */
  const content: Uint8Array<ArrayBuffer>;
  export default content;
}
declare module 'worker-source' {
  /** The text of the bundled worker. */
  const source: string;
  export default source;
}
