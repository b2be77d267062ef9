// The subtitle over the film: at the foot of the picture, and above the controls while they are seen.
import { Cues } from "./cues.ts";
import { h } from "./dom.ts";
import { pictureBox } from "./picture_box.ts";
import { cueText } from "./webvtt.ts";
import { kLoadingSubtitles } from "./words.ts";

const kMoves = ["timeupdate", "seeking", "seeked", "playing", "pause", "ratechange", "emptied", "loadedmetadata"] as const;

export class SubtitleScreen {
  private all: readonly VTTCue[] = [];
  private cues = new Cues<VTTCue>([]);
  private shown: readonly VTTCue[] = [];
  private delay = 0;
  private timer: ReturnType<typeof setTimeout> | undefined;
  private readonly watcher = new ResizeObserver(() => this.fit());
  private readonly lines = h("div", { class: "subtitle-lines" });
  private readonly note = h("p", { class: "subtitle-note", role: "status" });
  readonly element = h("div", { class: "subtitles" }, this.note, this.lines);
  onChange: (() => void) | undefined; // other cues, or at other times

  // `clock`: seconds into the film, of what is seen right now.
  constructor(
    private readonly video: HTMLVideoElement,
    private readonly clock: () => number,
  ) {
    for (const move of kMoves) video.addEventListener(move, this.moved);
    video.addEventListener("resize", () => this.fit());
    this.watcher.observe(this.element);
  }

  dispose(): void {
    clearTimeout(this.timer);
    this.watcher.disconnect();
    for (const move of kMoves) this.video.removeEventListener(move, this.moved);
  }

  // `language`: as a code; browsers draw some scripts by it.
  show(cues: readonly VTTCue[], language: string): void {
    this.all = cues;
    this.cues = new Cues(cues);
    this.lines.lang = language;
    this.changed();
  }

  clear(): void {
    this.showLoading(false);
    this.show([], "");
  }

  // Says so as long as there is nothing to be shown.
  showLoading(loading: boolean): void {
    this.note.textContent = loading && this.all.length === 0 ? kLoadingSubtitles : "";
  }

  // Above 0: what is said comes later.
  setDelay(seconds: number): void {
    this.delay = seconds;
    this.changed();
  }

  // Of what is usual.
  setSize(factor: number): void {
    this.element.style.setProperty("--size", String(factor));
  }

  // Copies of all cues, with the delay.
  inFilmTime(): VTTCue[] {
    const { all, delay } = this;
    return all.map(({ startTime, endTime, text }) => new VTTCue(startTime + delay, endTime + delay, text));
  }

  private changed(): void {
    if (this.all.length > 0) this.showLoading(false);
    this.moved();
    this.onChange?.();
  }

  private readonly moved = (): void => {
    const at = this.clock() - this.delay;
    this.draw(this.cues.at(at));
    clearTimeout(this.timer);
    const { paused, playbackRate } = this.video;
    const wait = (this.cues.next(at) - at) / playbackRate;
    // The film itself tells its time several times a second.
    if (!paused && wait < 1) this.timer = setTimeout(this.moved, wait * 1000);
  };

  private draw(cues: readonly VTTCue[]): void {
    if (cues.length === this.shown.length && cues.every((cue, place) => cue === this.shown[place])) return;
    this.shown = cues;
    this.lines.replaceChildren(...cues.map((cue) => h("p", { dir: "auto" }, h("span", {}, cueText(cue)))));
  }

  private fit(): void {
    const { clientWidth: width, clientHeight: height, style } = this.element;
    const box = pictureBox({ width, height }, { width: this.video.videoWidth, height: this.video.videoHeight });
    style.setProperty("--picture-width", `${box.width}px`);
    style.setProperty("--picture-height", `${box.height}px`);
    style.setProperty("--below", `${box.below}px`);
  }
}
