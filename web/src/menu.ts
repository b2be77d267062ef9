// A button with a list that opens above it, by mouse, finger or keys. On telephones the list lies at the lower edge of
// the screen.
import { h } from "./dom.ts";
import { icon, type IconName } from "./icons.ts";

export interface MenuLook {
  icon: IconName;
  label: string;
  key: string;
}

export interface MenuItem {
  label: string;
  detail: string;
  picture: IconName; // before the label
  chosen?: boolean; // one of several that exclude each other, or something that is on or off by itself
  alone?: boolean; // the latter
  disabled?: boolean;
  act: () => void;
}

export function menuItem({ label, detail, picture, chosen, alone, disabled, act }: MenuItem): HTMLButtonElement {
  const kind = alone ? "menuitemcheckbox" : "menuitemradio";
  const role = chosen === undefined ? "menuitem" : kind;
  return h(
    "button",
    {
      type: "button",
      role,
      "aria-checked": chosen === undefined ? undefined : String(chosen),
      "aria-disabled": disabled ? "true" : undefined,
      tabindex: -1,
      onclick: () => disabled || act(),
    },
    icon(picture),
    h("span", { class: "choices-label", dir: "auto" }, label),
    detail !== "" && h("span", { class: "choices-detail", dir: "auto" }, detail),
  );
}

export function menuGroup(title: string, ...items: HTMLElement[]): HTMLElement {
  return h(
    "div",
    { role: "group", "aria-label": title, class: "choices-group" },
    h("p", { class: "choices-title", "aria-hidden": "true" }, title),
    ...items,
  );
}

export abstract class Menu {
  private readonly list: HTMLElement;
  private readonly shade = h("div", { class: "choices-shade", hidden: true, onclick: () => this.close() });
  private before: Element | null = null; // what had the focus when it was opened
  readonly button: HTMLButtonElement;
  readonly element: HTMLElement;

  constructor(
    look: MenuLook,
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
    this.focusItem();
  }

  private show(shown: boolean): void {
    this.list.hidden = !shown;
    this.shade.hidden = !shown;
    this.button.setAttribute("aria-expanded", String(shown));
    this.onMove();
  }

  // Keeps the focus at its place in the list. Without parts the button goes away, too.
  protected fill(...parts: HTMLElement[]): void {
    const was = this.items.indexOf(document.activeElement as HTMLElement);
    this.list.replaceChildren(...parts);
    this.element.hidden = parts.length === 0;
    if (this.element.hidden) this.close();
    else if (was >= 0) this.items[Math.min(was, this.items.length - 1)]?.focus();
  }

  // The one that is chosen, or the first one.
  protected focusItem(): void {
    (this.items.find((item) => item.ariaChecked === "true") ?? this.items[0])?.focus({ preventScroll: true });
  }

  // Escape was pressed.
  protected back(): void {
    this.close();
  }

  private get items(): HTMLElement[] {
    return [...this.list.querySelectorAll<HTMLElement>('[role^="menuitem"]')];
  }

  private keyed(event: KeyboardEvent): void {
    if (!this.isOpen) return;
    const { items } = this;
    const now = items.indexOf(document.activeElement as HTMLElement);
    const next = nextItem(event.key, now, items.length);
    if (next !== undefined) items[next]?.focus({ preventScroll: true });
    else if (event.key === "Escape") this.back();
    else if (event.key === "Tab") this.close();
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
