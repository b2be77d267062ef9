// The player: the film over the whole page, with controls that step back while it runs.
import { abilitiesOf } from "./abilities.ts";
import type { WebApi } from "./api.ts";
import { findFilm, pictureAddress, placeOf, type Film } from "./catalog.ts";
import { Chrome } from "./chrome.ts";
import { deliveriesFor, kAutomatic, withDelivery, withQuality, type Choice } from "./delivery.ts";
import { askPin, dialogIsOpen, showHelp, type KeyTable } from "./dialogs.ts";
import { h, takesText } from "./dom.ts";
import { formatTime } from "./format.ts";
import { icon } from "./icons.ts";
import { Notices } from "./notices.ts";
import { panel } from "./panel.ts";
import { Playback, type Failure } from "./playback.ts";
import { PlayerControls } from "./player_controls.ts";
import { playerAction, type PlayerAction } from "./player_keys.ts";
import type { PositionStore } from "./positions.ts";
import { lastQuality, saveQuality, type Quality } from "./quality.ts";
import { SoundPicture } from "./sound_picture.ts";
import type { SubtitleStore } from "./subtitle_store.ts";
import { Subtitles } from "./subtitles.ts";
import { watchSurface, type SurfaceEvent } from "./surface.ts";
import { restoreLoudness, saveLoudness } from "./volume.ts";
import { Waiting } from "./waiting.ts";
import { nameDelivery, nameFormat, wordsForLosing, wordsForOpening, wordsForOriginal, wordsForPlaying, wordsForRefusing } from "./words.ts";

const kKeys: KeyTable = [
  [["Space", "k"], "play or pause"],
  [["←", "→"], "5 seconds back or forward"],
  [["j", "l"], "10 seconds back or forward"],
  [["0", "…", "9"], "to a tenth of the film"],
  [["↑", "↓"], "louder or quieter"],
  [["m"], "sound off or on"],
  [["f"], "full screen"],
  [["a"], "choose the sound"],
  [["q"], "choose the quality, and how the film is sent"],
  [["c"], "subtitles off or on"],
  [["s"], "choose the subtitles"],
  [["g", "h"], "subtitles earlier or later"],
  [["Esc"], "leave full screen, then the film"],
  [["?"], "this help"],
];

const kSaveEvery = 5000;

export interface PlayerContext {
  api: WebApi;
  positions: PositionStore;
  subtitles: SubtitleStore;
  film: Film | undefined; // as far as the library has it loaded
  id: number;
  leave: () => void;
}

export class PlayerView {
  private film: Film | undefined;
  private readonly video: HTMLVideoElement;
  private readonly playback: Playback;
  private readonly controls: PlayerControls;
  private readonly subtitles: Subtitles;
  private readonly chrome: Chrome;
  private readonly notices = new Notices();
  private readonly title = h("h1", { dir: "auto" });
  private readonly place = h("p", { dir: "auto" });
  private readonly problem = h("div", { class: "player-problem", hidden: true });
  private readonly waiting = new Waiting();
  private readonly sound_picture: SoundPicture;
  private choice: Choice = { delivery: kAutomatic, quality: lastQuality() };
  private readonly start_button = h(
    "button",
    { type: "button", class: "big-play", "aria-label": "Play", hidden: true, onclick: () => this.act({ name: "toggle" }) },
    icon("play"),
  );
  private readonly surface = h("div", { class: "surface" });
  private saved = 0;
  readonly element: HTMLElement;

  constructor(private readonly context: PlayerContext) {
    const { api, id } = context;
    this.video = h("video", { playsinline: true, preload: "auto", poster: pictureAddress(id, 640) });
    this.sound_picture = new SoundPicture(this.video, pictureAddress(id, 640));
    const can = abilitiesOf(this.video);
    this.playback = new Playback(api, this.video, { id, film: () => this.film, can }, this.choice, {
      pin: (wrong) => askPin(wrong, this.element),
      busy: () => this.busy(),
      ready: () => this.ready(),
      blocked: () => this.showStart(true),
      trouble: (trouble) => this.waiting.explain(trouble),
      converting: () => this.notices.show("Kinora converts this film for your browser while you watch."),
      refused: (refused, instead, failure) => this.refused(refused, instead, failure),
      ended: () => this.showStart(true),
      unheard: () => this.notices.show("This sound can’t be sent to your browser. The film goes on with its first one."),
      tracks: (tracks, chosen) => {
        this.controls.showTracks(tracks, chosen);
        this.subtitles.heard(tracks[chosen]?.language ?? "");
      },
      failed: (failure) => this.failed(failure),
    });
    this.subtitles = new Subtitles({
      api,
      film: id,
      pin: () => this.playback.pin,
      store: context.subtitles,
      video: this.video,
      clock: () => this.playback.now,
      tell: (text, offer) => this.notices.show(text, offer),
      move: () => this.chrome.wake(),
    });
    this.controls = new PlayerControls(this.video, this.playback, deliveriesFor(can), this.subtitles.menu, {
      act: (action) => this.act(action),
      seek: (seconds) => this.seek(seconds),
      volume: (volume) => Object.assign(this.video, { volume, muted: false }),
      track: (index) => this.playback.chooseTrack(index),
      quality: (quality) => this.changeQuality(quality),
      delivery: (delivery) => this.change(withDelivery(this.choice, delivery)),
      menu: () => this.chrome.wake(),
    });
    this.showChoice();
    this.element = this.build();
    this.chrome = new Chrome(this.element, () => this.staysInView());
    this.watchVideo();
    watchSurface(this.surface, (event) => this.touched(event));
  }

  shown(): void {
    restoreLoudness(this.video);
    this.name(this.context.film);
    if (!this.context.film) void this.lookUp();
    document.addEventListener("keydown", this.keyed);
    document.addEventListener("fullscreenchange", this.resized);
    window.addEventListener("pagehide", this.pageLeft);
    window.addEventListener("pageshow", this.pageBack);
    this.element.focus({ preventScroll: true });
    this.chrome.wake();
    const left = this.context.positions.find(this.context.id);
    if (left) {
      const over = { label: "Start over", act: () => this.seek(0) };
      this.notices.show(`Continued at ${formatTime(left.at)}.`, over);
    }
    void this.playback.open(left?.at ?? 0);
  }

  dispose(): void {
    this.save();
    this.playback.close();
    this.subtitles.dispose();
    this.chrome.dispose();
    this.waiting.end();
    document.removeEventListener("keydown", this.keyed);
    document.removeEventListener("fullscreenchange", this.resized);
    window.removeEventListener("pagehide", this.pageLeft);
    window.removeEventListener("pageshow", this.pageBack);
    if (document.fullscreenElement) void document.exitFullscreen();
    this.element.remove();
  }

  private build(): HTMLElement {
    const back = h(
      "button",
      { type: "button", class: "icon-button", "aria-label": "Back to the films", title: "Back to the films (Esc)", onclick: () => this.context.leave() },
      icon("back"),
    );
    const root = h(
      "main",
      { class: "player", tabindex: -1, "aria-label": "Player" },
      this.video,
      this.sound_picture.element,
      this.subtitles.element,
      this.surface,
      this.waiting.element,
      this.start_button,
      h("header", { class: "player-top" }, back, h("div", { class: "player-names" }, this.title, this.place)),
      this.problem,
      this.notices.element,
      this.controls.element,
    );
    // After a click the keys belong to the film again, not to the button that was clicked.
    this.controls.element.addEventListener("click", (event) => {
      if (event.detail > 0 && !this.controls.menuIsOpen) root.focus({ preventScroll: true });
    });
    return root;
  }

  private watchVideo(): void {
    const { video } = this;
    const listen = (names: string[], act: () => void) => names.forEach((name) => video.addEventListener(name, act));
    listen(["waiting", "seeking"], () => this.busy());
    listen(["playing", "seeked", "canplay"], () => this.waiting.end());
    // Not on "play", which also comes before the browser forbids it.
    listen(["playing"], () => this.showStart(false));
    listen(["pause", "ended"], () => {
      this.save();
      this.chrome.wake();
    });
    listen(["timeupdate"], () => {
      if (Date.now() - this.saved > kSaveEvery) this.save();
    });
    listen(["volumechange"], () => saveLoudness(video));
  }

  private name(film: Film | undefined): void {
    this.film = film;
    this.title.textContent = film?.title ?? "";
    this.place.textContent = film ? placeOf(film) : "";
    this.controls.showPosition();
    document.title = film ? `${film.title} – Kinora` : "Kinora";
  }

  private async lookUp(): Promise<void> {
    try {
      const film = await findFilm(this.context.api, this.context.id);
      if (this.element.isConnected) this.name(film);
    } catch {
      // It plays without its name.
    }
  }

  private staysInView(): boolean {
    return this.video.paused || !this.problem.hidden || this.controls.menuIsOpen || dialogIsOpen();
  }

  private busy(): void {
    this.problem.hidden = true;
    this.waiting.begin();
  }

  private ready(): void {
    // A moment of black is less of a jolt than the film's picture between two pictures of it.
    this.video.removeAttribute("poster");
    this.showChoice();
    const seen = this.video.videoWidth > 0;
    if (!seen && this.film?.video_codec && this.playback.convert()) return;
    this.sound_picture.show(!seen);
    void this.subtitles.begin();
    if (seen || !this.film?.video_codec) return;
    this.notices.show(`This browser can’t show ${nameFormat(this.film.video_codec)} pictures; only the sound plays.`);
  }

  private changeQuality(quality: Quality): void {
    saveQuality(quality);
    this.change(withQuality(this.choice, quality));
  }

  private change(choice: Choice): void {
    this.choice = choice;
    this.showChoice();
    this.playback.change(choice);
  }

  private refused(refused: Choice, instead: Choice, failure: Failure): void {
    if (refused.delivery === kAutomatic) saveQuality(instead.quality);
    this.choice = instead;
    this.showChoice();
    this.notices.show(wordsForRefusing(refused, failure));
  }

  private showChoice(): void {
    const { format } = this.playback;
    this.controls.showChoice(this.choice, wordsForOriginal(this.choice, format), nameDelivery(this.choice, format));
  }

  private showStart(shown: boolean): void {
    this.start_button.hidden = !shown;
    if (shown) this.waiting.end();
  }

  private failed(failure: Failure): void {
    this.waiting.end();
    this.controls.closeMenus();
    this.showStart(false);
    this.notices.clear();
    const words = {
      open: () => wordsForOpening("error" in failure ? failure.error : undefined, this.film),
      lost: () => wordsForLosing("begun" in failure && failure.begun),
      format: () => wordsForPlaying(this.film),
    }[failure.why]();
    const steps = [
      { label: "Back to the films", act: () => this.context.leave() },
      { label: "Try again", act: () => this.playback.again(), quiet: true },
    ];
    this.problem.replaceChildren(panel(words, steps, { alert: true }));
    this.problem.hidden = false;
    this.chrome.wake();
  }

  private save(): void {
    this.saved = Date.now();
    const { at, duration } = this.playback;
    if (Number.isFinite(duration)) this.context.positions.save(this.context.id, at, duration);
  }

  private seek(seconds: number): void {
    const { duration } = this.playback;
    if (Number.isFinite(duration)) this.playback.seek(Math.min(Math.max(0, seconds), duration));
  }

  private act(action: PlayerAction): void {
    const { video, playback } = this;
    this.chrome.wake();
    if (action.name === "toggle") {
      this.showStart(false);
      if (playback.paused) playback.run();
      else playback.pause();
    } else if (action.name === "skip") this.seek(playback.at + action.seconds);
    else if (action.name === "jump") this.seek(playback.duration * action.share);
    else if (action.name === "mute") video.muted = !video.muted;
    else if (action.name === "louder") this.louder(action.by);
    else if (action.name === "fullscreen") this.fullscreen();
    else if (action.name === "help") showHelp("Keys in the player", kKeys, this.element);
    else if (action.name === "toggle subtitles") this.subtitles.toggle();
    else if (action.name === "delay") this.subtitles.shift(action.by);
    else if (action.name === "leave") this.stepBack();
    else this.controls.toggleMenu(action.name);
  }

  private stepBack(): void {
    if (this.controls.menuIsOpen) this.controls.closeMenus();
    else if (document.fullscreenElement) void document.exitFullscreen();
    else this.context.leave();
  }

  private louder(by: number): void {
    const before = this.video.muted ? 0 : this.video.volume;
    this.video.volume = Math.min(1, Math.max(0, Math.round((before + by) * 100) / 100));
    this.video.muted = false;
  }

  private fullscreen(): void {
    if (document.fullscreenElement) void document.exitFullscreen();
    else if (this.element.requestFullscreen) void this.element.requestFullscreen().catch(() => undefined);
    // Telephones that let only the film itself fill the screen.
    else (this.video as HTMLVideoElement & { webkitEnterFullscreen?: () => void }).webkitEnterFullscreen?.();
  }

  private touched(event: SurfaceEvent): void {
    if (event === "chrome") this.chrome.toggle();
    else if (event === "rewind") this.act({ name: "skip", seconds: -10 });
    else if (event === "forward") this.act({ name: "skip", seconds: 10 });
    else this.act({ name: event });
  }

  private readonly keyed = (event: KeyboardEvent): void => {
    const { target } = event;
    if (dialogIsOpen() || takesText(target)) return;
    const action = playerAction(event);
    if (!action) return;
    // What has the focus keeps the keys that it understands itself.
    if (event.key === " " && target instanceof HTMLButtonElement) return;
    if (target instanceof HTMLElement && target.classList.contains("volume-range") && action.name !== "toggle") {
      if (/^(Arrow|Home|End)/.test(event.key)) return;
    }
    event.preventDefault();
    this.act(action);
  };

  private readonly resized = (): void => {
    this.controls.showFullscreen(document.fullscreenElement !== null);
    this.chrome.wake();
  };

  private readonly pageLeft = (): void => {
    this.save();
    this.playback.close();
  };

  private readonly pageBack = (event: PageTransitionEvent): void => {
    if (event.persisted) this.playback.reopen();
  };
}
