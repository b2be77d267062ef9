// One film on one video element: opens its stream, takes it up again where it broke off, closes it in the end.
import { kNotSignedIn, Refusal, Unreachable, type WebApi } from "./api.ts";
import { listTracks, type AudioTrack } from "./audio_tracks.ts";
import { remedyFor, willPass, type Breakage } from "./breakage.ts";
import { kOriginal, wayFor, type Quality } from "./quality.ts";
import { Recovery, type Break } from "./recovery.ts";
import { sourceFor, type Source } from "./source.ts";
import { closeStream, openStream, type Stream } from "./stream.ts";

export type Failure =
  | { why: "open"; error: unknown } // the server refused to start it, or did not answer
  | { why: "lost"; begun: boolean } // it broke off, or never began, and could not be taken up again
  | { why: "format" }; // the browser can't play what the server sends

// Why loading stands still: the server does not answer, has no encoder free, or no space.
export type Trouble = "server" | "encoders" | "disk";

export interface PlaybackEvents {
  // The PIN for a locked film; undefined when the viewer gave up. Called on codes 1400 and 1401.
  pin: (wrong: boolean) => Promise<string | undefined>;
  busy: () => void; // opening, or mending
  ready: () => void; // length and size of the picture are known
  blocked: () => void; // the browser wants a click before it plays
  trouble: (trouble: Trouble | undefined) => void; // undefined: it goes on
  converting: () => void; // the browser can't play the film as it is
  refused: (quality: Quality) => void; // the film goes on as it is
  unheard: () => void; // the chosen track can't be had; the film goes on with its first one
  tracks: (tracks: readonly AudioTrack[], chosen: number) => void;
  failed: (failure: Failure) => void;
}

const kDiskFull = 1203;
const kPinMissing = 1400;
const kPinWrong = 1401;
// Refusals that another quality would meet with, too.
const kOfTheFilm = new Set([kNotSignedIn, 101, 105, 128, 1101, kPinMissing, kPinWrong]);

function refusedFor(error: unknown, code: number): boolean {
  return error instanceof Refusal && error.code === code;
}

export class Playback {
  private stream: Stream | undefined;
  private source: Source | undefined;
  private tracks: readonly AudioTrack[] = [];
  private track: AudioTrack | undefined; // the viewer's choice
  private position = 0;
  private wanted = true; // to run, not to stand still
  private had_picture = false;
  private begun = false; // some stream of it had a picture
  private converted = false; // the browser can't play the film as it is
  private pin: string | undefined;
  private generation = 0; // tells answers to an earlier opening from the present one's
  private pause: ReturnType<typeof setTimeout> | undefined;
  private readonly recovery = new Recovery();

  constructor(
    private readonly api: WebApi,
    private readonly video: HTMLVideoElement,
    private readonly film: number,
    private quality: Quality,
    private readonly on: PlaybackEvents,
  ) {
    video.addEventListener("loadedmetadata", () => this.begin());
    video.addEventListener("timeupdate", () => this.moved());
    video.addEventListener("seeking", () => this.sought());
    video.addEventListener("play", () => this.willed(true));
    video.addEventListener("pause", () => this.willed(false));
    video.addEventListener("error", () => this.source?.failed());
  }

  // Seconds into the film, also while the stream is being opened anew.
  get at(): number {
    return this.position;
  }

  // "raw", "hls" or "hls_remux"; nothing while no stream is open.
  get format(): string | undefined {
    return this.stream?.format;
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
      await this.feed(stream, own);
    } catch (error) {
      if (own === this.generation) this.unopened(error);
    }
  }

  // By the viewer's own wish: all attempts are there again.
  again(): void {
    this.recovery.forget();
    void this.open(this.position, this.wanted);
  }

  // Goes on at the same position in another quality.
  changeQuality(quality: Quality): void {
    this.quality = quality;
    this.recovery.forget();
    void this.open(this.position, this.wanted);
  }

  chooseTrack(track: number): void {
    this.track = this.tracks[track];
    if (this.source?.switches) {
      this.source.choose(track);
      return;
    }
    this.on.tracks(this.tracks, track);
    this.again();
  }

  // The film is left, or the whole page is: works while the page goes away.
  close(): void {
    this.generation += 1;
    clearTimeout(this.pause);
    this.source?.stop();
    this.source = undefined;
    if (this.stream) closeStream(this.api, this.stream);
    this.stream = undefined;
  }

  // The page came back from the browser's memory.
  reopen(): void {
    if (!this.stream) void this.open(this.position, this.wanted);
  }

  run(): void {
    this.video.play().catch((error: unknown) => {
      if (error instanceof DOMException && error.name === "NotAllowedError") this.on.blocked();
    });
  }

  private async openUnlocked(): Promise<Stream> {
    for (;;) {
      try {
        const wishes = { audio_track: this.track?.id || undefined, pin: this.pin };
        return await openStream(this.api, this.film, wayFor(this.quality, this.converted), wishes);
      } catch (error) {
        const wrong = refusedFor(error, kPinWrong);
        if (!wrong && !refusedFor(error, kPinMissing)) throw error;
        const typed = await this.on.pin(wrong);
        if (typed === undefined) throw error;
        this.pin = typed;
      }
    }
  }

  private async feed(stream: Stream, own: number): Promise<void> {
    const start = await sourceFor(stream).catch(() => {
      throw new Unreachable("the player's program was not sent");
    });
    if (own !== this.generation) return;
    this.source = start(this.video, this.position, {
      broke: (breakage) => own === this.generation && this.broke(stream, breakage),
      trouble: (status, code) => this.troubled(status, code),
      tracks: (tracks, chosen) => this.heard(tracks, chosen),
    });
  }

  private unopened(error: unknown): void {
    const other_way = error instanceof Refusal && !kOfTheFilm.has(error.code);
    if (error instanceof Unreachable) {
      this.mend("server", { why: "open", error });
    } else if (other_way && this.quality !== kOriginal) {
      this.on.refused(this.quality);
      this.changeQuality(kOriginal);
    } else if (other_way && this.track) {
      this.on.unheard();
      this.track = undefined;
      this.again();
    } else {
      this.on.failed({ why: "open", error });
    }
  }

  private begin(): void {
    const { video } = this;
    this.had_picture = true;
    this.begun = true;
    const last = Number.isFinite(video.duration) ? Math.max(0, video.duration - 1) : this.position;
    if (this.position > 0) video.currentTime = Math.min(this.position, last);
    this.recovery.resumed(this.position);
    this.on.trouble(undefined);
    this.on.ready();
    if (this.wanted) this.run();
    if (this.source && !this.source.switches) void this.lookForTracks(this.generation);
  }

  private async lookForTracks(own: number): Promise<void> {
    try {
      const tracks = await listTracks(this.api, this.film, this.pin);
      const chosen = tracks.findIndex(({ id }) => id === this.track?.id);
      if (own === this.generation) this.heard(tracks, Math.max(0, chosen));
    } catch {
      // It plays without a choice.
    }
  }

  // A film that breaks off or is taken away stops, too, but nobody wanted that.
  private willed(running: boolean): void {
    if (this.stream && !this.video.error && this.video.readyState > 0) this.wanted = running;
  }

  private sought(): void {
    if (this.had_picture && this.stream) this.position = this.video.currentTime;
  }

  private moved(): void {
    if (!this.stream || !this.had_picture || this.video.seeking || this.video.error) return;
    this.position = this.video.currentTime;
    this.recovery.reached(this.position);
  }

  private heard(tracks: readonly AudioTrack[], chosen: number): void {
    this.tracks = tracks;
    this.on.tracks(tracks, chosen);
  }

  private troubled(status: number | undefined, code?: number): void {
    if (status === undefined) this.on.trouble(undefined);
    else if (status === 503) this.on.trouble(code === kDiskFull ? "disk" : "encoders");
    else if (willPass(status)) this.on.trouble("server");
  }

  private broke(stream: Stream, breakage: Breakage): void {
    const remedy = remedyFor(breakage, { format: stream.format, played: this.had_picture });
    this.on.busy();
    const lost: Failure = { why: "lost", begun: this.begun };
    if (remedy === "wait") this.mend("server", lost);
    else if (remedy === "reopen") this.mend("stream", lost);
    else if (remedy === "convert") this.convert();
    else this.on.failed({ why: "format" });
  }

  // For pictures that the browser leaves out, although it plays the rest. false: they were converted already.
  convert(): boolean {
    if (this.stream?.format === "hls") return false;
    this.converted = true;
    this.on.converting();
    void this.open(this.position, this.wanted);
    return true;
  }

  private mend(kind: Break, otherwise: Failure): void {
    const pause = this.recovery.next(kind);
    if (pause === undefined) {
      this.on.failed(otherwise);
      return;
    }
    this.on.busy();
    if (kind === "server") this.on.trouble("server");
    clearTimeout(this.pause);
    this.pause = setTimeout(() => void this.open(this.position, this.wanted), pause);
  }
}
