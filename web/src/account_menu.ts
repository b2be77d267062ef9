// The signed-in person's menu.
import { h } from "./dom.ts";
import { icon } from "./icons.ts";
import type { Account } from "./session.ts";

export interface MenuEntry {
  label: string;
  act: () => void;
}

export class AccountMenu {
  private readonly summary: HTMLElement;
  readonly element: HTMLDetailsElement;

  constructor(account: Account, entries: MenuEntry[]) {
    this.summary = h("summary", { class: "icon-button", "aria-label": `Menu of ${account.name}` }, icon("person"));
    const buttons = entries.map(({ label, act }) =>
      h("li", {}, h("button", { type: "button", class: "menu-entry", onclick: () => this.choose(act) }, label)),
    );
    this.element = h(
      "details",
      {
        class: "menu",
        onkeydown: (event: KeyboardEvent) => {
          if (event.key === "Escape" && this.element.open) this.close();
        },
        onfocusout: (event: FocusEvent) => {
          if (event.relatedTarget && !this.element.contains(event.relatedTarget as Node)) this.element.open = false;
        },
      },
      this.summary,
      h(
        "div",
        { class: "menu-body" },
        h(
          "p",
          { class: "menu-who" },
          h("strong", { dir: "auto" }, account.name),
          h("span", {}, account.administrator ? "Administrator" : "Viewer"),
        ),
        h("ul", {}, ...buttons),
      ),
    );
    document.addEventListener("pointerdown", this.closeFromOutside);
  }

  dispose(): void {
    document.removeEventListener("pointerdown", this.closeFromOutside);
  }

  private readonly closeFromOutside = (event: Event): void => {
    if (!this.element.contains(event.target as Node)) this.element.open = false;
  };

  private close(): void {
    this.element.open = false;
    this.summary.focus();
  }

  private choose(act: () => void): void {
    this.element.open = false;
    act();
  }
}
