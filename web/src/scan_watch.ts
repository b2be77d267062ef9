// Watches the server's scan: often while one runs, seldom otherwise, not at all while nobody looks at the page.
import type { Progress } from "./catalog.ts";
import { plural } from "./format.ts";

const kWhileRunning = 1000;
const kOtherwise = 10_000;
// A scan that was just asked for takes a moment to begin, and may be over soon after.
const kExpected = 5000;

// Everything that tells one state of the library from another. A scan that began and ended between two looks
// shows in its counters, too.
export function signature(progress: Progress): string {
  const { found, added, changed, moved, removed, looked_at, refused } = progress;
  return [found, added, changed, moved, removed, looked_at, refused].join(" ");
}

// What came of a scan, in one line; nothing when it changed nothing.
export function outcome(progress: Progress): string {
  const parts: [number, string][] = [
    [progress.added, "added"],
    [progress.changed, "updated"],
    [progress.moved, "moved"],
    [progress.removed, "removed"],
  ];
  const said = parts.filter(([count]) => count > 0);
  return said.map(([count, what], index) => (index === 0 ? `${plural(count, "film")} ${what}` : `${count} ${what}`)).join(", ");
}

export function scanLine(progress: Progress): string {
  if (progress.to_look_at === 0) {
    return progress.found === 0 ? "Looking through the folders…" : `${plural(progress.found, "film")} found so far…`;
  }
  const of = plural(progress.to_look_at, "new or changed file");
  return `Looking at ${of}: ${progress.looked_at.toLocaleString("en")} done`;
}

export class ScanWatch {
  private last = "";
  private was_running = false;
  private timer: ReturnType<typeof setTimeout> | undefined;
  private stopped = true;
  private expected_until = 0;

  constructor(
    private readonly ask: () => Promise<Progress>,
    private readonly on: { progress: (progress: Progress) => void; change: () => void; end: (progress: Progress) => void },
  ) {}

  start(): void {
    this.stopped = false;
    document.addEventListener("visibilitychange", this.look);
    void this.look();
  }

  // A scan was asked for.
  expect(): Promise<void> {
    this.expected_until = Date.now() + kExpected;
    return this.look();
  }

  stop(): void {
    this.stopped = true;
    clearTimeout(this.timer);
    document.removeEventListener("visibilitychange", this.look);
  }

  readonly look = async (): Promise<void> => {
    clearTimeout(this.timer);
    if (this.stopped || document.hidden) return;
    let running = false;
    try {
      const progress = await this.ask();
      if (this.stopped) return;
      running = progress.running;
      this.tell(progress);
    } catch {
      // The next look may find the server again; the list itself tells of failures.
    }
    clearTimeout(this.timer);
    const soon = running || Date.now() < this.expected_until;
    if (!this.stopped) this.timer = setTimeout(this.look, soon ? kWhileRunning : kOtherwise);
  };

  private tell(progress: Progress): void {
    this.on.progress(progress);
    const now = signature(progress);
    // The first look finds a list that is as fresh as itself.
    if (this.last !== "" && this.last !== now) this.on.change();
    this.last = now;
    if (this.was_running && !progress.running) this.on.end(progress);
    this.was_running = progress.running;
  }
}
