// A button with a short list from which one is taken: by mouse, finger or keys. On telephones the list lies at the
// lower edge of the screen.
import { h } from "./dom.ts";
import { icon, type IconName } from "./icons.ts";

export interface Choice {
  label: string;
  detail: string;
}

export class Menu {
  private readonly list: HTMLElement;
  private readonly shade = h("div", { class: "choices-shade", hidden: true, onclick: () => this.close() });
  private before: Element | null = null; // what had the focus when it was opened
  readonly button: HTMLButtonElement;
  readonly element: HTMLElement;

  constructor(
    look: { icon: IconName; label: string; key: string },
    private readonly onPick: (index: number) => void,
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

  // Fewer than two choices are none: the button goes away.
  offer(choices: readonly Choice[], chosen: number): void {
    const was = this.items.indexOf(document.activeElement as HTMLElement);
    const title = h("p", { class: "choices-title", "aria-hidden": "true" }, this.button.getAttribute("aria-label") ?? "");
    this.list.replaceChildren(title, ...choices.map((choice, index) => this.item(choice, index, index === chosen)));
    this.element.hidden = choices.length < 2;
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

  private item({ label, detail }: Choice, index: number, checked: boolean): HTMLElement {
    const pick = () => {
      this.close();
      if (!checked) this.onPick(index);
    };
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
