// The player's buttons and its time line; they show what the video element does and ask the player to act.
import { nameTracks, type AudioTrack } from "./audio_tracks.ts";
import { ChoiceMenu } from "./choice_menu.ts";
import { kAutomatic, type Choice, type Delivery } from "./delivery.ts";
import { h } from "./dom.ts";
import { formatTime } from "./format.ts";
import { changeIcon, icon, type IconName } from "./icons.ts";
import type { Menu } from "./menu.ts";
import type { PlayerAction } from "./player_keys.ts";
import { kOriginal, kQualities, type Quality } from "./quality.ts";
import { SeekBar, type Progress } from "./seek_bar.ts";

const kSmallStep = 10;

export interface Run extends Progress {
  readonly paused: boolean;
}

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
  private readonly sound = new ChoiceMenu(
    { icon: "voice", label: "Sound", key: "a" },
    (index) => this.on.track(index),
    () => this.on.menu(),
  );
  private readonly quality = new ChoiceMenu(
    { icon: "quality", label: "Quality", key: "q" },
    (index, group) => {
      if (group === 0) this.on.quality(kQualities[index] as Quality);
      else this.on.delivery(this.deliveries[index] as Delivery);
    },
    () => this.on.menu(),
  );
  private readonly seek: SeekBar;
  readonly element: HTMLElement;

  constructor(
    private readonly video: HTMLVideoElement,
    private readonly run: Run,
    private readonly deliveries: readonly Delivery[],
    private readonly subtitles: Menu,
    private readonly on: {
      act: (action: PlayerAction) => void;
      seek: (seconds: number) => void;
      volume: (volume: number) => void;
      track: (index: number) => void;
      quality: (quality: Quality) => void;
      delivery: (delivery: Delivery) => void;
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
        this.subtitles.element,
        this.sound.element,
        this.quality.element,
        this.button("help", "Keys", { name: "help" }, "?"),
        this.full,
      ),
    );
    for (const event of ["timeupdate", "progress", "durationchange", "seeking", "seeked", "emptied", "loadedmetadata"]) {
      video.addEventListener(event, () => this.showPosition());
    }
    for (const event of ["play", "pause", "ended", "emptied", "loadedmetadata", "volumechange"]) {
      video.addEventListener(event, () => this.showState());
    }
    this.showPosition();
    this.showState();
    this.showTracks([], 0);
  }

  get menuIsOpen(): boolean {
    return this.menus.some((menu) => menu.isOpen);
  }

  closeMenus(): void {
    for (const menu of this.menus) menu.close();
  }

  private get menus(): Menu[] {
    return [this.subtitles, this.sound, this.quality];
  }

  // Only one of them at a time.
  toggleMenu(which: "subtitles" | "sound" | "quality"): void {
    for (const menu of this.menus) if (menu !== this[which]) menu.close();
    this[which].toggle();
  }

  showTracks(tracks: readonly AudioTrack[], chosen: number): void {
    this.sound.offer({ title: "Sound", choices: nameTracks(tracks), chosen });
  }

  // `original`: how the film comes when nothing else is chosen; `automatic`: what those call it who know.
  showChoice({ quality, delivery }: Choice, original: string, automatic: string): void {
    const filled = <Kind extends { label: string; detail: string }>(all: readonly Kind[], first: Kind, detail: string) =>
      all.map((one) => ({ label: one.label, detail: one === first ? detail : one.detail }));
    this.quality.offer(
      { title: "Quality", choices: filled(kQualities, kOriginal, original), chosen: kQualities.indexOf(quality) },
      { title: "Play as", choices: filled(this.deliveries, kAutomatic, automatic), chosen: this.deliveries.indexOf(delivery) },
    );
  }

  showFullscreen(is_full: boolean): void {
    this.label(this.full, is_full ? "shrink" : "expand", is_full ? "Leave full screen" : "Full screen", "f");
  }

  showPosition(): void {
    this.seek.show(this.run);
    this.showTime(this.run.at);
  }

  private showTime(seconds: number): void {
    const { duration } = this.run;
    const words = Number.isFinite(duration) ? `${formatTime(seconds)} / ${formatTime(duration)}` : formatTime(seconds);
    if (this.time.textContent !== words) this.time.textContent = words;
  }

  private showState(): void {
    const { paused } = this.run;
    const { muted, volume } = this.video;
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
