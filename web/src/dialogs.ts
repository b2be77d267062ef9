// Small windows over the page. The browser's own dialog keeps the focus inside and closes on Escape.
import { h, type Child } from "./dom.ts";
import { icon } from "./icons.ts";

export function dialogIsOpen(): boolean {
  return document.querySelector("dialog[open]") !== null;
}

function show(dialog: HTMLDialogElement, parent: Element): void {
  dialog.addEventListener("close", () => dialog.remove());
  // A click beside the window, which the browser reports as one on the dialog itself.
  dialog.addEventListener("click", (event) => {
    if (event.target === dialog) dialog.close();
  });
  parent.append(dialog);
  dialog.showModal();
}

function frame(title: string, ...content: Child[]): HTMLDialogElement {
  return h(
    "dialog",
    { class: "dialog", "aria-label": title },
    h("div", { class: "dialog-body" }, h("h2", {}, title), ...content),
  );
}

export type KeyTable = readonly (readonly [keys: readonly string[], meaning: string])[];

export function showHelp(title: string, keys: KeyTable, parent: Element): void {
  const rows = keys.map(([names, meaning]) =>
    h("div", {}, h("dt", {}, ...names.map((name) => h("kbd", {}, name))), h("dd", {}, meaning)),
  );
  const close = h("button", { class: "icon-button dialog-close", type: "button", "aria-label": "Close" }, icon("cross"));
  const dialog = frame(title, close, h("dl", { class: "keys" }, ...rows));
  close.addEventListener("click", () => dialog.close());
  show(dialog, parent);
}

// The PIN that was typed; nothing when the viewer thought better of it.
export function askPin(wrong: boolean, parent: Element): Promise<string | undefined> {
  return new Promise((resolve) => {
    const pin = h("input", {
      type: "password",
      id: "pin",
      class: "field",
      inputmode: "numeric",
      autocomplete: "off",
      required: true,
      autofocus: true,
      "aria-describedby": "pin-words",
    });
    const words = wrong ? "That PIN was not right. Try again." : "Parental control is on for this film.";
    const cancel = h("button", { type: "button", class: "button quiet" }, "Cancel");
    const form = h(
      "form",
      { method: "dialog" },
      h("p", { id: "pin-words", role: wrong ? "alert" : undefined, class: wrong ? "failure" : "hint" }, words),
      h("label", { for: "pin" }, "PIN"),
      pin,
      h("div", { class: "buttons" }, cancel, h("button", { type: "submit", class: "button" }, "Watch")),
    );
    const dialog = frame("This film is locked", form);
    let typed: string | undefined;
    form.addEventListener("submit", () => (typed = pin.value));
    cancel.addEventListener("click", () => dialog.close());
    dialog.addEventListener("close", () => resolve(typed));
    show(dialog, parent);
  });
}
