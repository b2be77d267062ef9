// Where a film is and where it can go: of most streams the video element knows all that, and what it does not
// know of others their source does.
import { loadedUntil } from "./buffered.ts";

// In seconds into the film.
export interface Timeline {
  readonly duration: number; // NaN as long as it is unknown
  loadedUntil(at: number): number | undefined;
  // The video element knows what it has got: the film is to begin here.
  begin(at: number): void;
  seek(to: number): void;
  // The video element says that there is no more. false: there should be, and the source has gone on.
  ended(): boolean;
}

export class ElementTimeline implements Timeline {
  constructor(private readonly video: HTMLVideoElement) {}

  get duration(): number {
    return this.video.duration;
  }

  loadedUntil(at: number): number | undefined {
    return loadedUntil(this.video.buffered, at);
  }

  begin(at: number): void {
    const { video } = this;
    const last = Number.isFinite(video.duration) ? Math.max(0, video.duration - 1) : at;
    if (at > 0) video.currentTime = Math.min(at, last);
  }

  seek(to: number): void {
    this.video.currentTime = to;
  }

  ended(): boolean {
    return true;
  }
}
