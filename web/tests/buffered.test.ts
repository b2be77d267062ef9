import assert from "node:assert/strict";
import { test } from "node:test";
import { loadedUntil } from "../src/buffered.ts";

function ranges(...pairs: [number, number][]): TimeRanges {
  const pair = (index: number) => pairs[index] as [number, number];
  return { length: pairs.length, start: (index) => pair(index)[0], end: (index) => pair(index)[1] };
}

const kCases: [[number, number][], number, number | undefined][] = [
  [[], 0, undefined],
  [[[0, 12]], 0, 12],
  [[[0, 12]], 12, 12],
  [[[0, 12]], 13, undefined],
  [[[0.04, 12]], 0, 12],
  [[[1, 12]], 0, undefined],
  [[[0, 12], [40, 60]], 50, 60],
  [[[0, 12], [40, 60]], 30, undefined],
];
for (const [loaded, at, until] of kCases) {
  test(`Buffered.ReachesFrom${at}In(${JSON.stringify(loaded)})`, () => assert.equal(loadedUntil(ranges(...loaded), at), until));
}
