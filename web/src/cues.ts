// The lines of a subtitle in time. All times are seconds into the film.

export interface Timed {
  readonly startTime: number;
  readonly endTime: number;
}

export class Cues<Cue extends Timed> {
  private readonly changes: readonly number[]; // when some cue begins or ends; ascending, each once

  constructor(private readonly all: readonly Cue[]) {
    const times = all.flatMap(({ startTime, endTime }) => [startTime, endTime]);
    this.changes = [...new Set(times)].sort((one, other) => one - other);
  }

  // In the order in which they stand below each other: those that begin together as they were written, a later one
  // above an earlier one, which so keeps its place.
  at(time: number): Cue[] {
    const now = this.all.filter(({ startTime, endTime }) => startTime <= time && time < endTime);
    return now.sort((one, other) => other.startTime - one.startTime);
  }

  // When something begins or ends after this; Infinity when nothing does.
  next(time: number): number {
    let [low, high] = [0, this.changes.length];
    while (low < high) {
      const middle = (low + high) >> 1;
      if ((this.changes[middle] as number) > time) high = middle;
      else low = middle + 1;
    }
    return this.changes[low] ?? Infinity;
  }
}
