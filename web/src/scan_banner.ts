// What a running scan does, above the grid.
import type { Progress } from "./catalog.ts";
import { h } from "./dom.ts";
import { scanLine } from "./scan_watch.ts";

export class ScanBanner {
  private readonly line = h("span", { class: "scan-line" });
  private readonly current = h("span", { class: "scan-current", dir: "auto" });
  private readonly bar = h("progress", { class: "scan-bar", "aria-label": "Scan" });
  readonly element = h(
    "section",
    { class: "scan", hidden: true, "aria-label": "Scan of the folders" },
    h("div", { class: "scan-words" }, this.line, this.current),
    this.bar,
  );

  show(progress: Progress): void {
    this.element.hidden = !progress.running;
    if (!progress.running) return;
    this.line.textContent = scanLine(progress);
    this.current.textContent = progress.current;
    if (progress.to_look_at > 0) {
      this.bar.max = progress.to_look_at;
      this.bar.value = progress.looked_at;
    } else {
      this.bar.removeAttribute("value");
    }
  }
}
