/** Does one thing at a time; of the requests that arrive meanwhile, only the last is done. */
export class Latest<Wish> {
  #wish: Wish | null = null;
  #isBusy = false;

  constructor(
    readonly work: (wish: Wish) => Promise<void>,
    readonly onIdle: () => void,
  ) {}

  ask(wish: Wish): void {
    this.#wish = wish;
    if (!this.#isBusy) void this.#serve();
  }

  drop(): void {
    this.#wish = null;
  }

  async #serve(): Promise<void> {
    this.#isBusy = true;
    while (this.#wish !== null) {
      const wish = this.#wish;
      this.#wish = null;
      await this.work(wish);
    }
    this.#isBusy = false;
    this.onIdle();
  }
}
