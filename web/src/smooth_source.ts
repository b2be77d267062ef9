// Smooth Streaming through dash.js, which is fetched with this file, only when a film is asked for so.
import { MediaPlayer, type MediaInfo, type MediaPlayerClass } from "dashjs";
import "dashjs/mss";
import type { AudioTrack } from "./audio_tracks.ts";
import { DeferredBreak } from "./deferred_break.ts";
import { mayRetry } from "./patience.ts";
import { failuresOf, smoothSettings } from "./smooth_config.ts";
import type { Source, SourceEvents } from "./source.ts";
import { refusalIn, type StreamAnswer } from "./stream.ts";
import { ElementTimeline, type Timeline } from "./timeline.ts";

// Errors of dash.js that say that something could not be loaded, after all attempts.
const kUnloadable = new Set([
  MediaPlayer.errors.DOWNLOAD_ERROR_ID_MANIFEST_CODE,
  MediaPlayer.errors.DOWNLOAD_ERROR_ID_CONTENT_CODE,
  MediaPlayer.errors.DOWNLOAD_ERROR_ID_INITIALIZATION_CODE,
] as number[]);

type Asking = Parameters<MediaPlayerClass["addRequestInterceptor"]>[0];
type Answered = Parameters<MediaPlayerClass["addResponseInterceptor"]>[0];

const kNever = new Promise<never>(() => undefined);

// Goes to where the film is to begin by itself.
class SmoothTimeline extends ElementTimeline {
  constructor(
    video: HTMLVideoElement,
    private readonly start: number,
  ) {
    super(video);
  }

  override begin(at: number): void {
    if (at !== this.start) this.seek(at);
  }
}

export class SmoothSource implements Source {
  readonly switches = true;
  readonly timeline: Timeline;
  private readonly player: MediaPlayerClass = MediaPlayer().create();
  private readonly break: DeferredBreak;
  private readonly unanswered = new Set<string>(); // addresses
  private stopped = false;

  constructor(
    private readonly video: HTMLVideoElement,
    address: string,
    at: number,
    private readonly on: SourceEvents,
  ) {
    this.timeline = new SmoothTimeline(video, at);
    this.break = new DeferredBreak(video, on.broke);
    const { player } = this;
    const { events } = MediaPlayer;
    player.updateSettings(smoothSettings());
    player.addRequestInterceptor(this.asking);
    player.addResponseInterceptor(this.answered);
    player.on(events.ERROR, (event: object) => this.error(event as { error?: { code?: number } }));
    for (const event of [events.STREAM_INITIALIZED, events.TRACK_CHANGE_RENDERED]) {
      player.on(event, () => this.tellTracks());
    }
    player.initialize(video, undefined, false);
    player.attachSource(address, at);
  }

  failed(): void {
    this.undecodable();
  }

  choose(track: number): void {
    const chosen = this.tracks[track];
    if (chosen) this.player.setCurrentTrack(chosen);
    this.on.tracks(this.tracks.map(wordsOf), track);
  }

  stop(): void {
    this.stopped = true;
    this.break.stop();
    this.player.destroy();
    this.video.removeAttribute("src");
    this.video.load();
  }

  private get tracks(): MediaInfo[] {
    return this.player.getTracksFor("audio");
  }

  private tellTracks(): void {
    if (this.stopped) return;
    const chosen = this.player.getCurrentTrackFor("audio")?.id;
    const { tracks } = this;
    this.on.tracks(tracks.map(wordsOf), Math.max(0, tracks.findIndex(({ id }) => id === chosen)));
  }

  // dash.js gives requests up of its own accord, too: what had no answer has failed only if it is asked for again.
  private readonly asking: Asking = (request) => {
    const unanswered = this.unanswered.delete(request.url);
    if (unanswered && failuresOf(request) > 0) this.on.trouble(0);
    return Promise.resolve(request);
  };

  private readonly answered: Answered = (answer) => {
    const { status = 0, data, request } = answer;
    if (this.stopped) return kNever;
    if (status === 0) {
      this.unanswered.add(request.url);
    } else if (status < 400) {
      this.on.trouble(undefined);
    } else {
      const code = refusalIn(data as string | ArrayBuffer);
      if (!mayRetry(status, false, failuresOf(request))) return this.giveUp({ status, ...(code !== undefined && { code }) });
      this.on.trouble(status, code);
    }
    return Promise.resolve(answer);
  };

  // dash.js would ask again whatever the answer was; a request that does not end leaves it in peace.
  private giveUp(answer: StreamAnswer): Promise<never> {
    this.break.found({ ...answer, undecodable: false });
    return kNever;
  }

  private error({ error }: { error?: { code?: number } }): void {
    if (this.stopped) return;
    if (kUnloadable.has(error?.code ?? 0)) this.break.found({ status: 0, undecodable: false });
    else this.undecodable();
  }

  private undecodable(): void {
    if (!this.stopped) this.on.broke({ status: 200, undecodable: true });
  }
}

// The manifest names each track by what is also part of its chunks' addresses; the film's own names are not in it.
function wordsOf({ id, lang }: MediaInfo): AudioTrack {
  return { id: trackOf(id ?? ""), name: "", language: lang === "und" ? "" : (lang ?? "") };
}

export function trackOf(name: string): string {
  return /(\d+)$/.exec(name)?.[1] ?? "";
}
