// A stream in fragments through hls.js, which is fetched with this file, only when a film needs it.
import Hls, { ErrorDetails, ErrorTypes, Events, type ErrorData } from "hls.js";
import worker from "hls.js/dist/hls.worker.js?url";
import { DeferredBreak } from "./deferred_break.ts";
import { configFor } from "./hls_config.ts";
import type { Source, SourceEvents } from "./source.ts";
import { ElementTimeline, type Timeline } from "./timeline.ts";

// A decoder that fails again within so many milliseconds fails for good.
const kResetAgain = 20_000;
// NetworkErrorAction.RetryRequest, which its module declares but does not hold.
const kRetryRequest = 5;
// hls.js passes over a fragment that holds no film. So many in a row mean that none does.
const kMostEmpty = 2;

// The server names the playlist of a track by the track's id.
export function trackOf(playlist: string): string {
  const name = new URL(playlist, "http://localhost").searchParams.get("playlist") ?? "";
  return /^audio_(\d+)$/.exec(name)?.[1] ?? "";
}

export class HlsSource implements Source {
  readonly switches = true;
  readonly timeline: Timeline;
  private readonly hls: Hls;
  private fed = false; // the decoder has taken something
  private empty = 0; // fragments in a row that held no film
  private reset = -Infinity; // when the decoder was set up anew
  private readonly break: DeferredBreak;

  constructor(
    video: HTMLVideoElement,
    address: string,
    at: number,
    private readonly on: SourceEvents,
  ) {
    this.timeline = new ElementTimeline(video);
    this.break = new DeferredBreak(video, on.broke);
    this.hls = new Hls(configFor(at, worker, (status, code) => on.trouble(status, code)));
    this.hls.on(Events.ERROR, (_, data) => this.error(data));
    this.hls.on(Events.FRAG_LOADED, () => on.trouble(undefined));
    this.hls.on(Events.BUFFER_APPENDED, () => this.appended());
    for (const event of [Events.AUDIO_TRACKS_UPDATED, Events.AUDIO_TRACK_SWITCHED] as const) {
      this.hls.on(event, () => this.tellTracks());
    }
    this.hls.loadSource(address);
    this.hls.attachMedia(video);
  }

  failed(): void {
    this.undecodable();
  }

  choose(track: number): void {
    this.hls.audioTrack = track;
    this.tellTracks();
  }

  stop(): void {
    this.break.stop();
    this.hls.destroy();
  }

  private tellTracks(): void {
    const tracks = this.hls.audioTracks.map(({ url, name, lang }) => ({ id: trackOf(url), name, language: lang ?? "" }));
    this.on.tracks(tracks, this.hls.audioTrack);
  }

  private appended(): void {
    this.fed = true;
    this.empty = 0;
  }

  private error(data: ErrorData): void {
    if (data.type === ErrorTypes.NETWORK_ERROR) {
      // With a single quality hls.js has nothing to switch to and may wait for ever for what it won't ask for again.
      const again = Number(data.errorAction?.action) === kRetryRequest && !data.fatal;
      if (!again) this.unloadable(data.response?.code ?? 0);
    } else if (data.fatal) {
      this.undecodable();
    } else if (data.details === ErrorDetails.FRAG_PARSING_ERROR) {
      this.empty += 1;
      if (this.empty >= kMostEmpty) this.undecodable();
    }
  }

  private undecodable(): void {
    const now = performance.now();
    this.empty = 0;
    if (this.fed && now - this.reset > kResetAgain) {
      this.reset = now;
      this.hls.recoverMediaError();
    } else {
      this.hls.stopLoad();
      this.on.broke({ status: 200, undecodable: true });
    }
  }

  private unloadable(status: number): void {
    this.hls.stopLoad();
    this.break.found({ status, undecodable: false });
  }
}
