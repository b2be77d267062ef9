// The film's time line. While it is dragged it shows where the film would go; letting go goes there, so that a
// drag costs one jump and not fifty.
import { h } from "./dom.ts";
import { formatTime, speakTime } from "./format.ts";

const kSteps = 10_000;

// Where a film is, in seconds into it. The duration is NaN as long as it is unknown.
export interface Progress {
  readonly at: number;
  readonly duration: number;
  readonly loadedUntil: number | undefined;
}

export class SeekBar {
  private dragging = false;
  private duration = 0;
  private readonly range = h("input", {
    type: "range",
    class: "seek-range",
    min: 0,
    max: kSteps,
    step: 1,
    value: 0,
    "aria-label": "Position in the film",
    oninput: () => this.drag(),
    onchange: () => this.drop(),
  });
  private readonly bubble = h("span", { class: "seek-bubble", "aria-hidden": "true", hidden: true });
  readonly element = h(
    "div",
    {
      class: "seek",
      onpointermove: (event: PointerEvent) => this.hover(event),
      onpointerleave: () => (this.bubble.hidden = true),
    },
    this.range,
    this.bubble,
  );

  constructor(
    private readonly onSeek: (seconds: number) => void,
    private readonly onPreview: (seconds: number) => void,
  ) {}

  show({ at, duration, loadedUntil }: Progress): void {
    this.duration = Number.isFinite(duration) ? duration : 0;
    this.range.disabled = this.duration === 0;
    const until = loadedUntil ?? 0;
    this.paint("--loaded", until / (this.duration || until || 1));
    if (!this.dragging) this.place(this.duration > 0 ? at / this.duration : 0);
  }

  private place(share: number): void {
    this.range.value = String(Math.round(share * kSteps));
    this.range.setAttribute(
      "aria-valuetext",
      `${speakTime(share * this.duration)} of ${speakTime(this.duration)}`,
    );
    this.paint("--played", share);
  }

  private paint(property: string, share: number): void {
    this.element.style.setProperty(property, `${(100 * share).toFixed(2)}%`);
  }

  private get chosen(): number {
    return (Number(this.range.value) / kSteps) * this.duration;
  }

  private drag(): void {
    this.dragging = true;
    this.paint("--played", Number(this.range.value) / kSteps);
    this.onPreview(this.chosen);
  }

  private drop(): void {
    this.dragging = false;
    this.onSeek(this.chosen);
  }

  private hover(event: PointerEvent): void {
    const box = this.range.getBoundingClientRect();
    if (this.duration === 0 || box.width === 0) return;
    const share = Math.min(1, Math.max(0, (event.clientX - box.left) / box.width));
    this.bubble.hidden = false;
    this.bubble.textContent = formatTime(share * this.duration);
    this.element.style.setProperty("--pointer", `${(100 * share).toFixed(2)}%`);
  }
}
