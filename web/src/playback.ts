// One film on one video element: opens its stream, takes it up again where it broke off, closes it in the end.
import type { Abilities } from "./abilities.ts";
import { kNotSignedIn, Refusal, Unreachable, type WebApi } from "./api.ts";
import { listTracks, withNames, type AudioTrack } from "./audio_tracks.ts";
import { remedyFor, troubleOf, type Breakage, type Trouble } from "./breakage.ts";
import type { Film } from "./catalog.ts";
import { choiceInstead, conversionFor, kAutomatic, playsIn, wayFor, type Choice } from "./delivery.ts";
import { Recovery, type Break } from "./recovery.ts";
import { sourceFor, type Source } from "./source.ts";
import { closeStream, openStream, type Stream, type Way } from "./stream.ts";

export type Failure =
  | { why: "open"; error: unknown } // the server refused to start it, or did not answer
  | { why: "lost"; begun: boolean } // it broke off, or never began, and could not be taken up again
  | { why: "format" }; // the browser can't play what the server sends

// What is to be played, and for whom.
export interface Showing {
  id: number;
  film: () => Film | undefined; // as far as it is known by now
  can: Abilities;
}

export interface PlaybackEvents {
  // The PIN for a locked film; undefined when the viewer gave up. Called on codes 1400 and 1401.
  pin: (wrong: boolean) => Promise<string | undefined>;
  busy: () => void; // opening, or mending
  ready: () => void; // length and size of the picture are known
  blocked: () => void; // the browser wants a click before it plays
  trouble: (trouble: Trouble | undefined) => void; // undefined: it goes on
  converting: () => void; // the browser can't play the film as it is
  refused: (refused: Choice, instead: Choice, failure: Failure) => void; // the film goes on in another way
  ended: () => void;
  unheard: () => void; // the chosen track can't be had; the film goes on with its first one
  tracks: (tracks: readonly AudioTrack[], chosen: number) => void;
  failed: (failure: Failure) => void;
}

const kPinMissing = 1400;
const kPinWrong = 1401;
// Refusals that another choice would meet with, too.
const kOfTheFilm = new Set([kNotSignedIn, 101, 105, 128, 1101, kPinMissing, kPinWrong]);

function refusedFor(error: unknown, code: number): boolean {
  return error instanceof Refusal && error.code === code;
}

export class Playback {
  private stream: Stream | undefined;
  private source: Source | undefined;
  private tracks: readonly AudioTrack[] = [];
  private names: Promise<readonly AudioTrack[]> | undefined; // as the library has them
  private track: AudioTrack | undefined; // the viewer's choice
  private position = 0;
  private wanted = true; // to run, not to stand still
  private had_picture = false;
  private begun = false; // some stream of it had a picture
  private converted = false; // the browser can't play the film as it is
  private played: Choice | undefined; // how it was last seen or heard
  pin: string | undefined; // that opened the film
  private generation = 0; // tells answers to an earlier opening from the present one's
  private mending: ReturnType<typeof setTimeout> | undefined;
  private readonly recovery = new Recovery();

  constructor(
    private readonly api: WebApi,
    private readonly video: HTMLVideoElement,
    private readonly showing: Showing,
    private choice: Choice,
    private readonly on: PlaybackEvents,
  ) {
    video.addEventListener("loadedmetadata", () => this.begin());
    video.addEventListener("timeupdate", () => this.moved());
    video.addEventListener("seeking", () => this.sought());
    video.addEventListener("play", () => this.willed(true));
    video.addEventListener("pause", () => this.willed(false));
    video.addEventListener("ended", () => this.ended());
    video.addEventListener("error", () => this.source?.failed());
  }

  // Seconds into the film, also while the stream is being opened anew.
  get at(): number {
    return this.position;
  }

  // The same as exactly as the video element knows it.
  get now(): number {
    return this.had_picture && this.video.readyState > 0 ? this.video.currentTime : this.position;
  }

  // Of the film in seconds; NaN as long as it is unknown.
  get duration(): number {
    return this.source?.timeline.duration ?? NaN;
  }

  // Up to which second the film is there from the present one on.
  get loadedUntil(): number | undefined {
    return this.source?.timeline.loadedUntil(this.position);
  }

  // Not while it is only being fetched anew.
  get paused(): boolean {
    return this.video.readyState === 0 ? !this.wanted : this.video.paused;
  }

  // As the server calls it; nothing while no stream is open.
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
      if (this.leftOpen() && this.plays(stream) === false) this.convert();
      else await this.feed(stream, own);
    } catch (error) {
      if (own === this.generation) this.unopened(error);
    }
  }

  // By the viewer's own wish: all attempts are there again.
  again(): void {
    this.recovery.forget();
    void this.open(this.position, this.wanted);
  }

  // Goes on at the same position in another way.
  change(choice: Choice): void {
    this.choice = choice;
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
    clearTimeout(this.mending);
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
    this.wanted = true;
    if (this.video.ended) this.seek(0);
    this.video.play().catch((error: unknown) => {
      if (error instanceof DOMException && error.name === "NotAllowedError") this.on.blocked();
    });
  }

  pause(): void {
    this.wanted = false;
    this.video.pause();
  }

  seek(to: number): void {
    this.position = to;
    this.source?.timeline.seek(to);
    if (this.video.readyState === 0) this.on.busy();
  }

  // The server chose the format, and the browser has some other one that it plays.
  private leftOpen(): boolean {
    return this.choice.delivery === kAutomatic && this.stream?.format !== conversionFor(this.showing.can);
  }

  private plays({ format }: Stream): boolean | undefined {
    return playsIn(format, this.showing.film(), this.showing.can);
  }

  private get way(): Way {
    const { showing, converted, track } = this;
    return wayFor(this.choice, { film: showing.film(), converted, track: track !== undefined }, showing.can);
  }

  private async openUnlocked(): Promise<Stream> {
    for (;;) {
      try {
        const wishes = { audio_track: this.track?.id || undefined, pin: this.pin };
        return await openStream(this.api, this.showing.id, this.way, wishes);
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
    const length = () => this.showing.film()?.duration || NaN;
    this.source = start(this.video, this.position, length, {
      broke: (breakage) => own === this.generation && this.broke(stream, breakage),
      trouble: (status, code) => this.on.trouble(status === undefined ? undefined : troubleOf(status, code)),
      tracks: (tracks, chosen) => this.heard(tracks, chosen),
    });
  }

  private unopened(error: unknown): void {
    const other_way = error instanceof Refusal && !kOfTheFilm.has(error.code);
    if (error instanceof Unreachable) {
      this.mend("server", { why: "open", error });
    } else if (other_way && this.changeBack({ why: "open", error })) {
      return;
    } else if (other_way && this.track) {
      this.on.unheard();
      this.track = undefined;
      this.again();
    } else {
      this.on.failed({ why: "open", error });
    }
  }

  // Lets go of a choice that can't be had. false: there is nothing to go back to.
  private changeBack(failure: Failure): boolean {
    const instead = choiceInstead(this.choice, this.played);
    if (!instead) return false;
    this.played = undefined; // if that fails, too, it is not tried again
    this.on.refused(this.choice, instead, failure);
    this.change(instead);
    return true;
  }

  private begin(): void {
    const own = this.generation;
    this.had_picture = true;
    this.begun = true;
    this.source?.timeline.begin(this.position);
    this.recovery.resumed(this.position);
    this.on.trouble(undefined);
    this.on.ready();
    if (own !== this.generation) return;
    if (this.wanted) this.run();
    if (!this.source?.switches) void this.lookForTracks(own);
  }

  private async lookForTracks(own: number): Promise<void> {
    try {
      const tracks = await listTracks(this.api, this.showing.id, this.pin);
      if (own !== this.generation) return;
      const chosen = tracks.findIndex(({ id }) => id === this.track?.id);
      this.heard(tracks, Math.max(0, chosen));
    } catch {
      // It plays without a choice.
    }
  }

  // A film that breaks off or is taken away stops, too, but nobody wanted that.
  private willed(running: boolean): void {
    const { video } = this;
    if (this.stream && !video.error && !video.ended && video.readyState > 0) this.wanted = running;
  }

  private sought(): void {
    if (this.had_picture && this.stream) this.position = this.video.currentTime;
  }

  private moved(): void {
    const { video } = this;
    if (!this.stream || !this.had_picture || video.seeking || video.error || video.readyState === 0) return;
    if (video.readyState > HTMLMediaElement.HAVE_METADATA) this.played = this.choice;
    this.position = this.video.currentTime;
    this.recovery.reached(this.position);
  }

  private heard(tracks: readonly AudioTrack[], chosen: number): void {
    this.tracks = tracks;
    this.on.tracks(tracks, chosen);
    if (this.source?.switches && tracks.length > 1 && tracks.some(({ name }) => name === "")) void this.name(tracks, chosen);
  }

  // Not every kind of stream has a place for the names that the film's tracks bear.
  private async name(tracks: readonly AudioTrack[], chosen: number): Promise<void> {
    this.names ??= listTracks(this.api, this.showing.id, this.pin);
    const names = await this.names.catch(() => []);
    if (this.tracks !== tracks) return;
    this.tracks = withNames(tracks, names);
    this.on.tracks(this.tracks, chosen);
  }

  private ended(): void {
    if (!this.source?.timeline.ended()) return;
    this.wanted = false;
    this.on.ended();
  }

  private broke({ format }: Stream, breakage: Breakage): void {
    const conversion = conversionFor(this.showing.can);
    const remedy = remedyFor(breakage, { format, conversion, played: this.had_picture });
    this.on.busy();
    const lost: Failure = { why: "lost", begun: this.begun };
    if (remedy === "wait") this.mend("server", lost, troubleOf(breakage.status, breakage.code));
    else if (remedy !== "reopen" && this.choice.delivery !== kAutomatic && this.changeBack({ why: "format" })) return;
    else if (remedy === "reopen") this.mend("stream", lost);
    else if (remedy === "convert") this.convert();
    else this.on.failed({ why: "format" });
  }

  // For pictures that the browser leaves out, although it plays the rest. false: they were converted already.
  convert(): boolean {
    if (this.choice.delivery !== kAutomatic) return this.changeBack({ why: "format" });
    if (this.stream?.format === conversionFor(this.showing.can)) return false;
    this.converted = true;
    this.on.converting();
    void this.open(this.position, this.wanted);
    return true;
  }

  private mend(kind: Break, otherwise: Failure, trouble: Trouble | undefined = "server"): void {
    const pause = this.recovery.next(kind);
    if (pause === undefined) {
      const never = this.choice.delivery !== kAutomatic && this.played !== this.choice;
      if (!never || !this.changeBack(otherwise)) this.on.failed(otherwise);
      return;
    }
    this.on.busy();
    if (kind === "server") this.on.trouble(trouble);
    clearTimeout(this.mending);
    this.mending = setTimeout(() => void this.open(this.position, this.wanted), pause);
  }
}
