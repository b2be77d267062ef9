// A button with a short list, of one group or several, from each of which one is taken: by mouse, finger or keys. On
// telephones the list lies at the lower edge of the screen.
import { h } from "./dom.ts";
import { icon, type IconName } from "./icons.ts";

export interface Choice {
  label: string;
  detail: string;
}

export interface Group {
  title: string;
  choices: readonly Choice[];
  chosen: number;
}

export class Menu {
  private readonly list: HTMLElement;
  private readonly shade = h("div", { class: "choices-shade", hidden: true, onclick: () => this.close() });
  private before: Element | null = null; // what had the focus when it was opened
  readonly button: HTMLButtonElement;
  readonly element: HTMLElement;

  constructor(
    look: { icon: IconName; label: string; key: string },
    private readonly onPick: (index: number, group: number) => void,
    private readonly onMove: () => void, // it was opened or closed
  ) {
    this.list = h("div", { class: "choices", role: "menu", "aria-label": look.label, hidden: true });
    this.button = h(
      "button",
      {
        type: "button",
        class: "icon-button",
        "aria-haspopup": "menu",
        "aria-expanded": "false",
        "aria-label": look.label,
        title: `${look.label} (${look.key})`,
        onclick: () => this.toggle(),
      },
      icon(look.icon),
    );
    this.element = h("div", { class: "choices-anchor" }, this.shade, this.button, this.list);
    this.element.addEventListener("keydown", (event) => this.keyed(event));
  }

  get isOpen(): boolean {
    return !this.list.hidden;
  }

  // Fewer than two choices are none: the group goes away, and the button when there is no other one.
  offer(...groups: readonly Group[]): void {
    const was = this.items.indexOf(document.activeElement as HTMLElement);
    const parts = groups.map((group, place) => (group.choices.length < 2 ? false : this.group(group, place)));
    this.list.replaceChildren(...parts.filter((part) => part !== false));
    this.element.hidden = this.items.length === 0;
    if (this.element.hidden) this.close();
    else if (was >= 0) this.items[was]?.focus();
  }

  toggle(): void {
    if (this.isOpen) this.close();
    else this.open();
  }

  close(): void {
    if (!this.isOpen) return;
    const held = this.list.contains(document.activeElement);
    this.show(false);
    if (!held) return;
    const { before } = this;
    const back = before instanceof HTMLElement && before !== document.body && before.isConnected ? before : this.button;
    back.focus({ preventScroll: true });
  }

  private open(): void {
    if (this.element.hidden) return;
    this.before = document.activeElement;
    this.show(true);
    (this.items.find((item) => item.ariaChecked === "true") ?? this.items[0])?.focus({ preventScroll: true });
  }

  private show(shown: boolean): void {
    this.list.hidden = !shown;
    this.shade.hidden = !shown;
    this.button.setAttribute("aria-expanded", String(shown));
    this.onMove();
  }

  private get items(): HTMLElement[] {
    return [...this.list.querySelectorAll<HTMLElement>('[role="menuitemradio"]')];
  }

  private group({ title, choices, chosen }: Group, place: number): HTMLElement {
    const pick = (index: number) => {
      this.close();
      if (index !== chosen) this.onPick(index, place);
    };
    return h(
      "div",
      { role: "group", "aria-label": title, class: "choices-group" },
      h("p", { class: "choices-title", "aria-hidden": "true" }, title),
      ...choices.map((choice, index) => this.item(choice, index === chosen, () => pick(index))),
    );
  }

  private item({ label, detail }: Choice, checked: boolean, pick: () => void): HTMLElement {
    return h(
      "button",
      { type: "button", role: "menuitemradio", "aria-checked": String(checked), tabindex: -1, onclick: pick },
      icon("tick"),
      h("span", { class: "choices-label", dir: "auto" }, label),
      detail !== "" && h("span", { class: "choices-detail", dir: "auto" }, detail),
    );
  }

  private keyed(event: KeyboardEvent): void {
    if (!this.isOpen) return;
    const { items } = this;
    const now = items.indexOf(document.activeElement as HTMLElement);
    const next = nextItem(event.key, now, items.length);
    if (next !== undefined) items[next]?.focus({ preventScroll: true });
    else if (event.key === "Escape" || event.key === "Tab") this.close();
    else if (event.key !== "Enter" && event.key !== " ") return;
    // The film does not hear of it; a button that has the focus is pressed by the browser.
    event.stopPropagation();
    if (event.key !== "Enter" && event.key !== " " && event.key !== "Tab") event.preventDefault();
  }
}

// Where a key leads from one of so many items, round the ends; nothing for other keys.
export function nextItem(key: string, from: number, count: number): number | undefined {
  if (key === "ArrowDown") return (from + 1) % count;
  if (key === "ArrowUp") return from < 0 ? count - 1 : (from + count - 1) % count;
  if (key === "Home") return 0;
  return key === "End" ? count - 1 : undefined;
}
