// Short messages that come and go at the page's lower edge, and are read out.
import { h } from "./dom.ts";

const kShown = 6000;

export interface Offer {
  label: string;
  act: () => void;
}

export class Notices {
  readonly element = h("div", { class: "notices", role: "status", "aria-live": "polite" });

  show(text: string, offer?: Offer): void {
    const button = offer && h("button", { type: "button", class: "link-button" }, offer.label);
    const notice = h("div", { class: "notice" }, h("span", {}, text), button);
    const end = () => notice.remove();
    button?.addEventListener("click", () => {
      offer?.act();
      end();
    });
    this.element.replaceChildren(notice);
    setTimeout(end, kShown);
  }

  clear(): void {
    this.element.replaceChildren();
  }
}
