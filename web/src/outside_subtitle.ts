// Where the film is shown outside of the page (in a window of its own, or over the whole screen of telephones that let only
// the film itself do that), the page's own subtitle can't follow it. The browser draws it there then, where it does such a
// thing. Tracks that it finds by itself, inside a file or a playlist, are never shown beside it.
import type { SubtitleScreen } from "./subtitle_screen.ts";

const kLeaves = ["enterpictureinpicture", "webkitbeginfullscreen"] as const;
const kChanges = ["addtrack", "change"] as const;
const kDrawn = new Set<TextTrackKind>(["subtitles", "captions"]);
const kReturns = ["leavepictureinpicture", "webkitendfullscreen"] as const;

export class OutsideSubtitle {
  private track: TextTrack | undefined; // browsers keep what was added to a film

  constructor(
    private readonly video: HTMLVideoElement,
    private readonly screen: SubtitleScreen,
  ) {
    for (const leaves of kLeaves) video.addEventListener(leaves, this.left);
    for (const returns of kReturns) video.addEventListener(returns, this.returned);
    for (const change of kChanges) video.textTracks.addEventListener(change, this.changed);
  }

  dispose(): void {
    this.screen.onChange = undefined;
    for (const leaves of kLeaves) this.video.removeEventListener(leaves, this.left);
    for (const returns of kReturns) this.video.removeEventListener(returns, this.returned);
    for (const change of kChanges) this.video.textTracks.removeEventListener(change, this.changed);
  }

  private readonly changed = (): void => {
    for (const track of this.video.textTracks) {
      if (track !== this.track && kDrawn.has(track.kind) && track.mode !== "disabled") track.mode = "disabled";
    }
  };

  private readonly left = (): void => {
    this.screen.element.hidden = true;
    this.screen.onChange = () => this.fill();
    this.fill();
  };

  private readonly returned = (): void => {
    this.screen.onChange = undefined;
    this.screen.element.hidden = false;
    this.empty();
    if (this.track) this.track.mode = "disabled";
  };

  private fill(): void {
    this.track ??= this.video.addTextTrack("subtitles", "Kinora");
    this.track.mode = "showing";
    this.empty();
    for (const cue of this.screen.inFilmTime()) this.track.addCue(cue);
  }

  private empty(): void {
    for (const cue of [...(this.track?.cues ?? [])]) this.track?.removeCue(cue);
  }
}
