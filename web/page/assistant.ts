import type { Answer, CallName, Calls, Question } from './messages.js';
import source from 'worker-source';

interface Waiting {
  resolve(reply: unknown): void;
  reject(error: Error): void;
}

/** The worker, started from the page's own text: a page opened from disk may not load a second file. */
export class Assistant {
  readonly #worker: Worker;
  readonly #waiting = new Map<number, Waiting>();
  #count = 0;

  constructor() {
    const url = URL.createObjectURL(new Blob([source], { type: 'text/javascript' }));
    this.#worker = new Worker(url);
    this.#worker.onmessage = (event: MessageEvent<Answer>) => this.#take(event.data);
    this.#worker.onerror = (event) => {
      for (const waiting of this.#waiting.values()) waiting.reject(new Error(event.message));
      this.#waiting.clear();
    };
  }

  call<Name extends CallName>(
    name: Name,
    request: Calls[Name]['request'],
  ): Promise<Calls[Name]['reply']> {
    const id = ++this.#count;
    const question: Question<Name> = { id, name, request };
    this.#worker.postMessage(question);
    return new Promise((resolve, reject) => {
      this.#waiting.set(id, { resolve: resolve as (reply: unknown) => void, reject });
    });
  }

  #take({ id, reply, error }: Answer): void {
    const waiting = this.#waiting.get(id);
    this.#waiting.delete(id);
    if (error === undefined) waiting?.resolve(reply);
    else waiting?.reject(new Error(error));
  }
}
