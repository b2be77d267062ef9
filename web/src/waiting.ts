// The wheel that turns while the film does not go on, with a word where the viewer can do with one.
import type { Trouble } from "./breakage.ts";
import { h } from "./dom.ts";

// A short wait is no wait.
const kShownAfter = 250;

const kWords: Record<Trouble, string> = {
  server: "Kinora does not answer. The film goes on when it is back.",
  encoders: "The server is converting as many films as it can. This one goes on as soon as another one ends.",
  disk: "The server’s disk is full. The film goes on when space has been made there.",
};

export class Waiting {
  private readonly words = h("p", { class: "waiting-words" });
  readonly element = h(
    "div",
    { class: "waiting", role: "status", hidden: true },
    h("div", { class: "spinner", role: "img", "aria-label": "Loading" }),
    this.words,
  );
  private timer: ReturnType<typeof setTimeout> | undefined;

  begin(): void {
    clearTimeout(this.timer);
    this.timer = setTimeout(() => (this.element.hidden = false), kShownAfter);
  }

  end(): void {
    clearTimeout(this.timer);
    this.element.hidden = true;
  }

  explain(trouble: Trouble | undefined): void {
    this.words.textContent = trouble ? kWords[trouble] : "";
  }
}
