// One film on one video element: opens its stream, takes it up again where it broke off, closes it in the end.
import { Unreachable, type WebApi } from "./api.ts";
import { Recovery, type Break } from "./recovery.ts";
import { askForStream, closeStream, mediaAddress, openStream, type Stream } from "./stream.ts";

export type Failure =
  | { why: "open"; error: unknown } // the server refused to start it, or did not answer
  | { why: "lost" } // it broke off and could not be taken up again
  | { why: "format" }; // the browser can't play what the server sends

export interface PlaybackEvents {
  // The PIN for a locked film; undefined when the viewer gave up. Called on codes 1400 and 1401.
  pin: (wrong: boolean) => Promise<string | undefined>;
  busy: () => void; // opening, or mending
  ready: () => void; // length and size of the picture are known
  blocked: () => void; // the browser wants a click before it plays
  failed: (failure: Failure) => void;
}

const kPinMissing = 1400;
const kPinWrong = 1401;

function refusedFor(error: unknown, code: number): boolean {
  return error instanceof Error && "code" in error && error.code === code;
}

export class Playback {
  private stream: Stream | undefined;
  private position = 0;
  private wanted = true; // to run, not to stand still
  private had_picture = false;
  private pin: string | undefined;
  private generation = 0; // tells answers to an earlier opening from the present one's
  private pause: ReturnType<typeof setTimeout> | undefined;
  private readonly recovery = new Recovery();

  constructor(
    private readonly api: WebApi,
    private readonly video: HTMLVideoElement,
    private readonly film: number,
    private readonly on: PlaybackEvents,
  ) {
    video.addEventListener("loadedmetadata", () => this.begin());
    video.addEventListener("timeupdate", () => this.moved());
    video.addEventListener("seeking", () => (this.position = video.currentTime));
    video.addEventListener("play", () => this.willed(true));
    video.addEventListener("pause", () => this.willed(false));
    video.addEventListener("error", () => void this.broke());
  }

  // Seconds into the film, also while the stream is being opened anew.
  get at(): number {
    return this.position;
  }

  async open(at: number, wanted = true): Promise<void> {
    this.close();
    const own = this.generation;
    this.position = at;
    this.wanted = wanted;
    this.on.busy();
    try {
      const stream = await this.openUnlocked();
      if (own !== this.generation) {
        closeStream(this.api, stream);
        return;
      }
      this.stream = stream;
      this.had_picture = false;
      this.video.src = mediaAddress(stream);
    } catch (error) {
      if (own !== this.generation) return;
      if (error instanceof Unreachable) this.mend("server", { why: "open", error });
      else this.on.failed({ why: "open", error });
    }
  }

  // By the viewer's own wish: all attempts are there again.
  again(): void {
    this.recovery.forget();
    void this.open(this.position);
  }

  // The film is left, or the whole page is: works while the page goes away.
  close(): void {
    this.generation += 1;
    clearTimeout(this.pause);
    if (!this.stream) return;
    closeStream(this.api, this.stream);
    this.stream = undefined;
    this.video.removeAttribute("src");
    this.video.load();
  }

  // The page came back from the browser's memory.
  reopen(): void {
    if (!this.stream) void this.open(this.position, this.wanted);
  }

  private async openUnlocked(): Promise<Stream> {
    for (;;) {
      try {
        return await openStream(this.api, this.film, this.pin);
      } catch (error) {
        const wrong = refusedFor(error, kPinWrong);
        if (!wrong && !refusedFor(error, kPinMissing)) throw error;
        const typed = await this.on.pin(wrong);
        if (typed === undefined) throw error;
        this.pin = typed;
      }
    }
  }

  private begin(): void {
    const { video } = this;
    this.had_picture = true;
    if (this.position > 0) video.currentTime = Math.min(this.position, Math.max(0, video.duration - 1));
    this.recovery.resumed(this.position);
    this.on.ready();
    if (this.wanted) this.run();
  }

  run(): void {
    this.video.play().catch((error: unknown) => {
      if (error instanceof DOMException && error.name === "NotAllowedError") this.on.blocked();
    });
  }

  // A film that breaks off or is taken away stops, too, but nobody wanted that.
  private willed(running: boolean): void {
    if (this.stream && !this.video.error && this.video.readyState > 0) this.wanted = running;
  }

  private moved(): void {
    if (!this.stream || !this.had_picture || this.video.seeking || this.video.error) return;
    this.position = this.video.currentTime;
    this.recovery.reached(this.position);
  }

  private async broke(): Promise<void> {
    const { stream, generation } = this;
    if (!stream) return;
    this.on.busy();
    const verdict = await askForStream(stream);
    if (generation !== this.generation) return;
    if (verdict === "served" && !this.had_picture) this.on.failed({ why: "format" });
    else if (verdict === "unreachable") this.mend("server", { why: "lost" });
    else this.mend("stream", { why: "lost" });
  }

  private mend(kind: Break, otherwise: Failure): void {
    const pause = this.recovery.next(kind);
    if (pause === undefined) {
      this.on.failed(otherwise);
      return;
    }
    this.on.busy();
    this.pause = setTimeout(() => void this.open(this.position, this.wanted), pause);
  }
}
