import assert from "node:assert/strict";
import { test } from "node:test";
import { mayRetry } from "../src/patience.ts";

const kCases: [number | undefined, boolean, number, boolean][] = [
  [0, false, 0, true],
  [0, false, 59, true],
  [0, false, 60, false],
  [503, false, 40, true],
  [502, false, 1, true],
  [500, false, 1, true],
  [500, false, 2, false],
  [404, false, 0, false],
  [401, false, 0, false],
  [429, false, 0, false],
  [undefined, false, 0, false], // no fragment
  [undefined, true, 1, true],
  [undefined, true, 2, false],
];
for (const [status, late, failures, again] of kCases) {
  test(`Patience.AsksAgain(${status}, ${late ? "late" : "failed"} ${failures} times)`, () => {
    assert.equal(mayRetry(status, late, failures), again);
  });
}
