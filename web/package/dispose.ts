// Browsers and Node 18 may not have the symbol that `using` looks for.
if (Symbol.dispose === undefined) {
  Object.defineProperty(Symbol, 'dispose', { value: Symbol.for('Symbol.dispose') });
}
export {};
