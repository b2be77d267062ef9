// What feeds the video element: the browser itself, from an address, or a player of fragments.
import type { AudioTrack } from "./audio_tracks.ts";
import type { Breakage } from "./breakage.ts";
import { askForStream, comesAsHls, mediaAddress, type Stream } from "./stream.ts";
import { ElementTimeline, type Timeline } from "./timeline.ts";
import { WebmSource } from "./webm_source.ts";

export interface SourceEvents {
  broke: (breakage: Breakage) => void;
  // Loading fails and is tried again; the status as in Breakage, undefined when it goes on, and the server's code.
  trouble: (status: number | undefined, code?: number) => void;
  tracks: (tracks: readonly AudioTrack[], chosen: number) => void;
}

export interface Source {
  readonly timeline: Timeline;
  // The video element has reported an error.
  failed(): void;
  // Tells its audio tracks and changes between them; else the stream has to be opened anew for another one.
  readonly switches: boolean;
  // Takes another audio track, by its place in the list.
  choose(track: number): void;
  // Nothing is reported any more. The video element is empty then.
  stop(): void;
}

// The browser loads by itself: films as they are, and streams in fragments where it has no other way.
class AddressSource implements Source {
  readonly switches = false;
  readonly timeline: Timeline;
  private stopped = false;

  constructor(
    private readonly video: HTMLVideoElement,
    private readonly stream: Stream,
    private readonly on: SourceEvents,
  ) {
    this.timeline = new ElementTimeline(video);
    video.src = mediaAddress(stream);
  }

  async failed(): Promise<void> {
    const undecodable = this.video.error?.code === MediaError.MEDIA_ERR_DECODE;
    const answer = await askForStream(this.stream);
    if (!this.stopped) this.on.broke({ ...answer, undecodable });
  }

  choose(): void {
    // Browsers play the first track of what they load by themselves.
  }

  stop(): void {
    this.stopped = true;
    this.video.removeAttribute("src");
    this.video.load();
  }
}

function takesFragments(): boolean {
  return "MediaSource" in globalThis || "ManagedMediaSource" in globalThis;
}

// `at`: seconds into the film. `length`: of the film, as the library knows it; NaN where it does not.
export type StartSource = (video: HTMLVideoElement, at: number, length: () => number, on: SourceEvents) => Source;

// Rejects when the program that plays fragments could not be fetched.
export async function sourceFor(stream: Stream): Promise<StartSource> {
  if (stream.format === "webm_remux") {
    return (video, at, length, on) => new WebmSource(video, stream, at, length, on);
  }
  if (stream.format === "ss") {
    const { SmoothSource } = await import("./smooth_source.ts");
    return (video, at, _, on) => new SmoothSource(video, mediaAddress(stream), at, on);
  }
  if (comesAsHls(stream) && takesFragments()) {
    const { HlsSource } = await import("./hls_source.ts");
    return (video, at, _, on) => new HlsSource(video, mediaAddress(stream), at, on);
  }
  return (video, _at, _length, on) => new AddressSource(video, stream, on);
}
