// What is seen of a film that has only sound: its cover where it has one, and bars that move while it runs.
import { h } from "./dom.ts";

const kBars = 7;

export class SoundPicture {
  private readonly cover: HTMLImageElement;
  readonly element: HTMLElement;

  constructor(
    video: HTMLVideoElement,
    private readonly address: string,
  ) {
    this.cover = h("img", { alt: "", hidden: true, onload: () => this.cover.removeAttribute("hidden") });
    const bars = Array.from({ length: kBars }, () => h("span"));
    this.element = h("div", { class: "sound-picture", hidden: true }, this.cover, h("div", { class: "sound-bars" }, ...bars));
    const runs = (running: boolean) => () => this.element.classList.toggle("runs", running);
    video.addEventListener("playing", runs(true));
    for (const stop of ["pause", "waiting", "ended", "emptied"]) video.addEventListener(stop, runs(false));
  }

  show(shown: boolean): void {
    if (shown && !this.cover.src) this.cover.src = this.address;
    this.element.hidden = !shown;
  }
}
