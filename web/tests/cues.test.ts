import assert from "node:assert/strict";
import { test } from "node:test";
import { Cues } from "../src/cues.ts";

//     0    1    2    3    4    5    6
// a        [---------)
// b             [---------)
// c             [----)
// d                            [----)
const kCues = [
  { name: "a", startTime: 1, endTime: 3 },
  { name: "b", startTime: 2, endTime: 4 },
  { name: "c", startTime: 2, endTime: 3 },
  { name: "d", startTime: 5, endTime: 6 },
];

const kMoments: [number, string, number][] = [
  [-1, "", 1],
  [0.999, "", 1],
  [1, "a", 2],
  [2, "bca", 3],
  [2.999, "bca", 3],
  [3, "b", 4],
  [4, "", 5],
  [5.5, "d", 6],
  [6, "", Infinity],
  [1e9, "", Infinity],
];
for (const [at, names, next] of kMoments) {
  test(`Cues.AreShownAt(${at})`, () => {
    const cues = new Cues(kCues);
    assert.equal(cues.at(at).map(({ name }) => name).join(""), names);
    assert.equal(cues.next(at), next);
  });
}

test("Cues.OfNothingNeverChange", () => {
  assert.deepEqual(new Cues([]).at(0), []);
  assert.equal(new Cues([]).next(0), Infinity);
});

test("Cues.MayBeWrittenInAnyOrder", () => {
  const cues = new Cues([...kCues].reverse());
  assert.equal(cues.at(2).map(({ name }) => name).join(""), "cba");
  assert.equal(cues.next(4.5), 5);
});
