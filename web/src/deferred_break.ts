// The viewer sees what is loaded; only when that is over does it matter that no more comes.
import type { Breakage } from "./breakage.ts";
import { loadedUntil } from "./buffered.ts";

const kNothing = 0.3; // seconds of film that are as good as none
const kMoves = ["timeupdate", "seeking", "waiting"] as const;

export class DeferredBreak {
  private breakage: Breakage | undefined; // found, but what is loaded still plays

  constructor(
    private readonly video: HTMLVideoElement,
    private readonly tell: (breakage: Breakage) => void,
  ) {
    for (const event of kMoves) video.addEventListener(event, this.moved);
  }

  found(breakage: Breakage): void {
    this.breakage = breakage;
    this.moved();
  }

  stop(): void {
    for (const event of kMoves) this.video.removeEventListener(event, this.moved);
  }

  private readonly moved = (): void => {
    if (!this.breakage) return;
    const { buffered, currentTime } = this.video;
    const until = loadedUntil(buffered, currentTime) ?? currentTime;
    if (until - currentTime > kNothing) return;
    const { breakage } = this;
    this.breakage = undefined;
    this.tell(breakage);
  };
}
