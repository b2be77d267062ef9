// The menu of subtitles: which one, and on pages of their own how it is read, how large it is and when it comes.
import { h } from "./dom.ts";
import type { IconName } from "./icons.ts";
import { Menu, menuGroup, menuItem } from "./menu.ts";
import type { SubtitleWords } from "./subtitle_list.ts";
import type { Charset } from "./subtitle_request.ts";
import { kSizes, type SizeName } from "./subtitle_store.ts";
import { formatDelay, sayDelay } from "./words.ts";

export interface SubtitleEntry extends SubtitleWords {
  readable: boolean;
}

// What the menu shows.
export interface SubtitleChoice {
  entries: readonly SubtitleEntry[];
  chosen: number; // -1: none
  charsets: readonly Charset[]; // to read the chosen one by; none for what is always UTF-8
  charset: string; // its name
  size: SizeName;
  delay: number; // seconds; above 0: later
  traditional: boolean | undefined; // simplified Chinese is turned into it; undefined: the chosen one is not Chinese
}

export interface SubtitleMenuEvents {
  pick: (entry: number) => void; // -1: none
  charset: (name: string) => void;
  size: (size: SizeName) => void;
  delay: (seconds: number) => void;
  traditional: (wanted: boolean) => void;
  move: () => void; // it was opened or closed
}

type Page = "charset" | "size" | "delay";

const kPages: Record<Page, { title: string; picture: IconName }> = {
  charset: { title: "Charset", picture: "file" },
  size: { title: "Size", picture: "letters" },
  delay: { title: "Delay", picture: "clock" },
};

const kSteps = [-0.5, -0.1, 0.1, 0.5]; // seconds

export class SubtitleMenu extends Menu {
  private page: Page | undefined; // undefined: the first one
  private choice: SubtitleChoice | undefined;

  constructor(private readonly on: SubtitleMenuEvents) {
    super({ icon: "subtitles", label: "Subtitles", key: "s" }, () => {
      if (!this.isOpen) this.turn(undefined);
      on.move();
    });
    this.fill();
  }

  offer(choice: SubtitleChoice): void {
    this.choice = choice;
    this.button.classList.toggle("is-on", choice.chosen >= 0);
    this.draw();
  }

  // At the page of charsets, for a subtitle that turned out to be unreadable.
  openCharsets(): void {
    if (!this.isOpen) this.toggle();
    this.turnAndFocus("charset");
  }

  protected override back(): void {
    const { page } = this;
    if (page === undefined) this.close();
    else this.leave(page);
  }

  private leave(page: Page): void {
    this.turn(undefined);
    this.element.querySelector<HTMLElement>(`[data-page="${page}"]`)?.focus({ preventScroll: true });
  }

  private turn(page: Page | undefined): void {
    this.page = page;
    this.draw();
  }

  private turnAndFocus(page: Page): void {
    this.turn(page);
    this.focusItem();
  }

  private draw(): void {
    const { choice, page } = this;
    if (!choice || choice.entries.length === 0) this.fill();
    else if (page === "charset" && choice.charsets.length > 0) this.fill(this.title(page), this.charsets(choice));
    else if (page === "size") this.fill(this.title(page), this.sizes(choice));
    else if (page === "delay") this.fill(this.title(page), this.delay(choice));
    else this.fill(this.entries(choice), ...this.settings(choice));
  }

  private entries({ entries, chosen }: SubtitleChoice): HTMLElement {
    const pick = (index: number) => {
      this.close();
      if (index !== chosen) this.on.pick(index);
    };
    const item = ({ label, detail, readable }: SubtitleEntry, index: number) =>
      menuItem({ label, detail, picture: "tick", chosen: index === chosen, disabled: !readable, act: () => pick(index) });
    return menuGroup("Subtitles", item({ label: "Off", detail: "", readable: true }, -1), ...entries.map(item));
  }

  private settings(choice: SubtitleChoice): HTMLElement[] {
    if (choice.chosen < 0) return [];
    const { charset, charsets, delay, size, traditional } = choice;
    const items = [
      charsets.length > 0 && this.lead("charset", charsets.find(({ name }) => name === charset)?.title ?? charset),
      this.lead("size", kSizes.find(({ name }) => name === size)?.label ?? ""),
      this.lead("delay", formatDelay(delay)),
      traditional !== undefined && this.script(traditional),
    ];
    return [menuGroup("Settings", ...items.filter((item) => item !== false))];
  }

  private lead(page: Page, detail: string): HTMLElement {
    const { title, picture } = kPages[page];
    const item = menuItem({ label: title, detail, picture, act: () => this.turnAndFocus(page) });
    item.dataset.page = page;
    item.setAttribute("aria-haspopup", "menu");
    return item;
  }

  private script(traditional: boolean): HTMLElement {
    const act = () => this.on.traditional(!traditional);
    return menuItem({ label: "Traditional characters", detail: "", picture: "tick", chosen: traditional, alone: true, act });
  }

  private title(page: Page): HTMLElement {
    const { title } = kPages[page];
    const item = menuItem({ label: title, detail: "", picture: "back", act: () => this.leave(page) });
    item.setAttribute("aria-label", `${title}: back to the subtitles`);
    item.classList.add("choices-back");
    return item;
  }

  private charsets({ charsets, charset }: SubtitleChoice): HTMLElement {
    const item = ({ name, title }: Charset) =>
      menuItem({ label: title, detail: "", picture: "tick", chosen: name === charset, act: () => this.on.charset(name) });
    return h("div", { role: "group", "aria-label": "Charset" }, ...charsets.map(item));
  }

  private sizes({ size }: SubtitleChoice): HTMLElement {
    const item = ({ name, label }: (typeof kSizes)[number]) =>
      menuItem({ label, detail: "", picture: "tick", chosen: name === size, act: () => this.on.size(name) });
    return h("div", { role: "group", "aria-label": "Size" }, ...kSizes.map(item));
  }

  private delay({ delay }: SubtitleChoice): HTMLElement {
    const step = (by: number) =>
      h(
        "button",
        {
          type: "button",
          role: "menuitem",
          tabindex: -1,
          "aria-label": `${Math.abs(by)} seconds ${by < 0 ? "earlier" : "later"}`,
          onclick: () => this.on.delay(delay + by),
        },
        `${by < 0 ? "−" : "+"}${Math.abs(by)}`,
      );
    const reset = menuItem({ label: "In step with the film", detail: "", picture: "cross", act: () => this.on.delay(0) });
    return h(
      "div",
      { role: "group", "aria-label": "Delay" },
      h("p", { class: "choices-value", "aria-live": "polite" }, h("strong", {}, formatDelay(delay)), h("span", {}, sayDelay(delay))),
      h("div", { class: "choices-steps" }, ...kSteps.map(step)),
      reset,
    );
  }
}
