// The player's buttons and its time line; they show what the video element does and ask the player to act.
import { nameTracks, type AudioTrack } from "./audio_tracks.ts";
import { h } from "./dom.ts";
import { formatTime } from "./format.ts";
import { changeIcon, icon, type IconName } from "./icons.ts";
import { Menu } from "./menu.ts";
import type { PlayerAction } from "./player_keys.ts";
import { kQualities, type Quality } from "./quality.ts";
import { SeekBar } from "./seek_bar.ts";

const kSmallStep = 10;

export class PlayerControls {
  private readonly play = this.button("play", "Play", { name: "toggle" }, "k");
  private readonly mute = this.button("loud", "Mute", { name: "mute" }, "m");
  private readonly full = this.button("expand", "Full screen", { name: "fullscreen" }, "f");
  private readonly time = h("span", { class: "clock" }, "0:00");
  private readonly volume = h("input", {
    type: "range",
    class: "volume-range",
    min: 0,
    max: 100,
    step: 1,
    "aria-label": "Volume",
    oninput: () => this.on.volume(Number(this.volume.value) / 100),
  });
  private readonly sound = new Menu(
    { icon: "voice", label: "Sound", key: "a" },
    (index) => this.on.track(index),
    () => this.on.menu(),
  );
  private readonly quality = new Menu(
    { icon: "quality", label: "Quality", key: "q" },
    (index) => this.on.quality(kQualities[index] as Quality),
    () => this.on.menu(),
  );
  private readonly seek: SeekBar;
  readonly element: HTMLElement;

  constructor(
    private readonly video: HTMLVideoElement,
    private readonly on: {
      act: (action: PlayerAction) => void;
      seek: (seconds: number) => void;
      volume: (volume: number) => void;
      track: (index: number) => void;
      quality: (quality: Quality) => void;
      menu: () => void; // one was opened or closed
    },
  ) {
    this.seek = new SeekBar(on.seek, (seconds) => this.showTime(seconds));
    this.element = h(
      "div",
      { class: "controls", role: "group", "aria-label": "Player" },
      this.seek.element,
      h(
        "div",
        { class: "control-row" },
        this.play,
        this.button("rewind", "Back 10 seconds", { name: "skip", seconds: -kSmallStep }, "j"),
        this.button("forward", "Forward 10 seconds", { name: "skip", seconds: kSmallStep }, "l"),
        h("div", { class: "volume" }, this.mute, this.volume),
        this.time,
        h("span", { class: "spring" }),
        this.sound.element,
        this.quality.element,
        this.button("help", "Keys", { name: "help" }, "?"),
        this.full,
      ),
    );
    for (const event of ["timeupdate", "progress", "durationchange", "seeking", "seeked", "emptied"]) {
      video.addEventListener(event, () => this.showPosition());
    }
    for (const event of ["play", "pause", "ended", "emptied", "volumechange"]) {
      video.addEventListener(event, () => this.showState());
    }
    this.showPosition();
    this.showState();
    this.showTracks([], 0);
  }

  get menuIsOpen(): boolean {
    return this.sound.isOpen || this.quality.isOpen;
  }

  closeMenus(): void {
    this.sound.close();
    this.quality.close();
  }

  // Only one of them at a time.
  toggleMenu(which: "sound" | "quality"): void {
    this[which === "sound" ? "quality" : "sound"].close();
    this[which].toggle();
  }

  showTracks(tracks: readonly AudioTrack[], chosen: number): void {
    this.sound.offer(nameTracks(tracks), chosen);
  }

  // `original`: how the film comes when nothing else is chosen.
  showQuality(quality: Quality, original: string): void {
    const choices = kQualities.map(({ label, detail }, index) => ({ label, detail: index === 0 ? original : detail }));
    this.quality.offer(choices, kQualities.indexOf(quality));
  }

  showFullscreen(is_full: boolean): void {
    this.label(this.full, is_full ? "shrink" : "expand", is_full ? "Leave full screen" : "Full screen", "f");
  }

  private showPosition(): void {
    this.seek.show(this.video);
    this.showTime(this.video.currentTime);
  }

  private showTime(seconds: number): void {
    const { duration } = this.video;
    const words = Number.isFinite(duration) ? `${formatTime(seconds)} / ${formatTime(duration)}` : formatTime(seconds);
    if (this.time.textContent !== words) this.time.textContent = words;
  }

  private showState(): void {
    const { paused, muted, volume } = this.video;
    this.label(this.play, paused ? "play" : "pause", paused ? "Play" : "Pause", "k");
    const silent = muted || volume === 0;
    this.label(this.mute, silent ? "mute" : "loud", silent ? "Sound on" : "Mute", "m");
    const shown = Math.round(silent ? 0 : volume * 100);
    this.volume.value = String(shown);
    this.volume.style.setProperty("--volume", `${shown}%`);
  }

  private button(name: IconName, label: string, action: PlayerAction, key: string): HTMLButtonElement {
    const button = h(
      "button",
      { type: "button", class: "icon-button", onclick: () => this.on.act(action) },
      icon(name),
    );
    this.label(button, name, label, key);
    return button;
  }

  private label(button: HTMLButtonElement, name: IconName, label: string, key: string): void {
    const picture = button.querySelector("svg");
    if (picture) changeIcon(picture, name);
    button.setAttribute("aria-label", label);
    button.title = `${label} (${key})`;
  }
}
