import assert from "node:assert/strict";
import { test } from "node:test";
import { kOriginal, kQualities, readQuality, wayFor, type Quality } from "../src/quality.ts";

const kLow = kQualities.find(({ name }) => name === "low") as Quality;

test("Quality.AsksForTheCheapestWayUnlessOneIsChosen", () => {
  assert.deepEqual(wayFor(kOriginal, false), { format: "auto" });
  assert.deepEqual(wayFor(kOriginal, true), { format: "hls" });
  assert.deepEqual(wayFor(kLow, false), { format: "hls", profile: "low" });
  assert.deepEqual(wayFor(kLow, true), { format: "hls", profile: "low" });
});

const kStored: [string | null, Quality][] = [
  [null, kOriginal],
  ["low", kLow],
  ["original", kOriginal],
  ["fullest", kOriginal],
  ["", kOriginal],
];
for (const [stored, quality] of kStored) {
  test(`Quality.IsReadWithCare(${stored})`, () => assert.equal(readQuality(stored), quality));
}
