// The player's frame (title and controls) goes away while the film runs undisturbed and comes back with any sign
// of life.

const kPatience = 2800;

export class Chrome {
  private timer: ReturnType<typeof setTimeout> | undefined;

  // `busy`: reasons for staying, such as a paused film.
  constructor(
    private readonly root: HTMLElement,
    private readonly busy: () => boolean,
  ) {
    root.addEventListener("pointermove", (event) => {
      if (event.pointerType !== "touch") this.wake();
    });
    root.addEventListener("focusin", () => this.wake());
  }

  get hidden(): boolean {
    return this.root.classList.contains("idle");
  }

  wake(): void {
    this.root.classList.remove("idle");
    clearTimeout(this.timer);
    this.timer = setTimeout(() => this.rest(), kPatience);
  }

  toggle(): void {
    if (this.hidden) this.wake();
    else this.rest();
  }

  dispose(): void {
    clearTimeout(this.timer);
  }

  private rest(): void {
    clearTimeout(this.timer);
    if (!this.busy()) this.root.classList.add("idle");
  }
}
