// What stands where films would: nothing there, or something failed.
import { h } from "./dom.ts";
import type { Words } from "./words.ts";

export interface Step {
  label: string;
  act: () => void;
  quiet?: boolean;
}

export function panel(words: Words, steps: Step[], options: { alert?: boolean; more?: Node } = {}): HTMLElement {
  const buttons = steps.map(({ label, act, quiet }) =>
    h("button", { type: "button", class: quiet ? "button quiet" : "button", onclick: () => act() }, label),
  );
  return h(
    "div",
    { class: "panel", role: options.alert ? "alert" : undefined },
    h("img", { src: "/kinora.svg", alt: "", class: "panel-mark" }),
    h("h2", {}, words.title),
    words.detail !== "" && h("p", {}, words.detail),
    options.more,
    buttons.length > 0 && h("div", { class: "buttons" }, ...buttons),
  );
}
