// How far a film has come in without a gap.

// A gap this short is none: browsers play over it, and fragments do not begin to the millisecond.
const kGap = 0.5;

// Seconds into the film up to which it is loaded from this second on; nothing where nothing is.
export function loadedUntil(ranges: TimeRanges, at: number): number | undefined {
  for (let index = 0; index < ranges.length; index += 1) {
    if (ranges.start(index) <= at + kGap && at <= ranges.end(index)) return ranges.end(index);
  }
  return undefined;
}
