// When a stream breaks off in mid-film (it was swept because another one was opened, or the server was
// started again) it is opened again at its position: at once, then after a pause. A server that does not answer
// gets two minutes, as a restart takes its time. A film that then runs for a while has earned all attempts anew.

export type Break = "stream" | "server";

const kPauses: Record<Break, readonly number[]> = {
  stream: [0, 1000],
  server: [500, 1000, 2000, 4000, ...new Array<number>(14).fill(8000)],
};

// Seconds of undisturbed film after which earlier breaks are forgotten.
const kHealthy = 10;

export class Recovery {
  private readonly failures: Record<Break, number> = { stream: 0, server: 0 };
  private resumed_at = 0;

  // How many milliseconds to wait before the next attempt; nothing when it is time to give up.
  next(kind: Break): number | undefined {
    const pause = kPauses[kind][this.failures[kind]];
    this.failures[kind] += 1;
    return pause;
  }

  // The film runs (again) from this position.
  resumed(at: number): void {
    this.resumed_at = at;
  }

  // The film has come to this position without a break.
  reached(at: number): void {
    if (at - this.resumed_at >= kHealthy) this.forget();
  }

  forget(): void {
    this.failures.stream = 0;
    this.failures.server = 0;
  }
}
