// Where each film was left, kept in this browser for each account. The most recent ones stay.

export interface Position {
  at: number; // seconds into the film
  duration: number; // seconds
  saved: number; // milliseconds since the epoch
}

export type Positions = Record<string, Position>;

const kMostKept = 500;
// A film that was barely begun starts anew, one that was all but seen counts as seen.
const kBegun = 10;
const kSeenShare = 0.95;

export function remember(positions: Positions, film: number, position: Position): Positions {
  const next = { ...positions };
  delete next[film];
  const { at, duration } = position;
  if (at < kBegun || !(duration > 0) || at > duration * kSeenShare) return next;
  next[film] = position;
  const kept = Object.entries(next).sort(([, left], [, right]) => right.saved - left.saved);
  return Object.fromEntries(kept.slice(0, kMostKept));
}

// What was stored may be from another version, or written by hand.
export function readPositions(text: string | null): Positions {
  let stored: unknown;
  try {
    stored = JSON.parse(text ?? "{}");
  } catch {
    return {};
  }
  if (typeof stored !== "object" || stored === null) return {};
  const sound = Object.entries(stored as Record<string, Partial<Position> | null>).filter(
    ([, position]) =>
      Number.isFinite(position?.at) && Number.isFinite(position?.duration) && Number.isFinite(position?.saved),
  );
  return Object.fromEntries(sound) as Positions;
}

export class PositionStore {
  private readonly key: string;

  constructor(account: number) {
    this.key = `kinora.positions.${account}`;
  }

  find(film: number): Position | undefined {
    return this.all()[film];
  }

  all(): Positions {
    try {
      return readPositions(localStorage.getItem(this.key));
    } catch {
      return {}; // the browser keeps nothing for this page
    }
  }

  save(film: number, at: number, duration: number): void {
    const next = remember(this.all(), film, { at, duration, saved: Date.now() });
    try {
      localStorage.setItem(this.key, JSON.stringify(next));
    } catch {
      // Full or forbidden: the film then starts at its beginning next time.
    }
  }
}
