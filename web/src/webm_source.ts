// A film as WebM, live: one endless answer from where it was asked for, in which all times are the film's own. The
// browser knows neither its length nor how to ask for another place in it, so going elsewhere is a new address.
//
// A line that breaks looks like the film's end to the browser (it asks for the rest by its bytes, which a stream made
// on the spot does not have), or like an error; where the server is gone it tries by itself for half a minute, in
// silence.
import { willPass } from "./breakage.ts";
import { loadedUntil } from "./buffered.ts";
import type { Source, SourceEvents } from "./source.ts";
import { askForServer, askForStream, mediaAddress, type Stream } from "./stream.ts";
import type { Timeline } from "./timeline.ts";

// A key that is held down goes on to the next place before anything came of the last one.
const kSettle = 200; // milliseconds
// The length that the library knows may be off by the end of the longest track.
const kEnd = 3; // seconds
const kLast = 1; // seconds, of which the end is to be seen
const kStuck = 4000; // milliseconds without film, after which the server is asked whether it is there
const kMostStuck = 15; // times that it may answer so before the stream counts as broken

function lies(within: TimeRanges, at: number): boolean {
  for (let index = 0; index < within.length; index += 1) {
    if (within.start(index) <= at && at <= within.end(index)) return true;
  }
  return false;
}

export class WebmSource implements Source, Timeline {
  readonly switches = false;
  readonly timeline = this;
  private from = 0; // where the present address begins; seconds
  private broke_off = NaN; // where the last one did
  private settling: ReturnType<typeof setTimeout> | undefined;
  private watching: ReturnType<typeof setTimeout> | undefined;
  private stopped = false;

  // `length`: of the film, as the library knows it; NaN where it does not.
  constructor(
    private readonly video: HTMLVideoElement,
    private readonly stream: Stream,
    at: number,
    private readonly length: () => number,
    private readonly on: SourceEvents,
  ) {
    video.addEventListener("waiting", this.waits);
    this.load(at);
  }

  get duration(): number {
    return this.length();
  }

  loadedUntil(at: number): number | undefined {
    return loadedUntil(this.video.buffered, at);
  }

  // The address knows whole seconds, and what is copied begins at a key picture before.
  begin(at: number): void {
    if (at > 0 && lies(this.video.seekable, at)) this.video.currentTime = at;
  }

  seek(to: number): void {
    const { video } = this;
    // Once the last byte is there the browser claims all that is before it, too, and lets nobody go anywhere.
    if (to >= this.from && this.loadedUntil(to) !== undefined && lies(video.seekable, to)) {
      video.currentTime = to;
      return;
    }
    this.drop();
    // Behind its end there is nothing to be sent.
    const last = Number.isFinite(this.length()) ? Math.max(0, this.length() - kLast) : to;
    this.settling = setTimeout(() => this.load(Math.min(to, last)), kSettle);
  }

  ended(): boolean {
    const { currentTime } = this.video;
    const whole = !(this.length() - currentTime > kEnd);
    // Twice at one place is the end, whatever the library knows.
    if (whole || Math.abs(currentTime - this.broke_off) < 1) return true;
    this.broke_off = currentTime;
    this.load(currentTime);
    return false;
  }

  async failed(): Promise<void> {
    const undecodable = this.video.error?.code === MediaError.MEDIA_ERR_DECODE;
    const answer = await askForStream(this.stream, this.from);
    if (!this.stopped) this.on.broke({ ...answer, undecodable });
  }

  choose(): void {
    // It holds one track.
  }

  stop(): void {
    this.stopped = true;
    this.video.removeEventListener("waiting", this.waits);
    this.drop();
  }

  private load(at: number): void {
    clearTimeout(this.settling);
    this.from = Math.floor(at);
    this.video.src = mediaAddress(this.stream, this.from);
  }

  // No request stays behind, and with it no encoder.
  private drop(): void {
    clearTimeout(this.settling);
    clearTimeout(this.watching);
    this.video.removeAttribute("src");
    this.video.load();
  }

  private readonly waits = (): void => {
    clearTimeout(this.watching);
    this.watch(this.video.currentTime, 0);
  };

  private watch(at: number, times: number): void {
    this.watching = setTimeout(() => void this.look(at, times + 1), kStuck);
  }

  private async look(at: number, times: number): Promise<void> {
    const stuck = () => !this.stopped && this.video.readyState < HTMLMediaElement.HAVE_FUTURE_DATA && this.video.currentTime === at;
    if (!stuck() || this.video.error) return;
    const status = await askForServer();
    if (!stuck() || this.video.error) return;
    if (!willPass(status) && times < kMostStuck) this.watch(at, times);
    else this.on.broke({ status, undecodable: false });
  }
}
