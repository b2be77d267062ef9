import assert from "node:assert/strict";
import { test } from "node:test";
import { kOriginal, kQualities, readQuality, type Quality } from "../src/quality.ts";

const kLow = kQualities.find(({ name }) => name === "low") as Quality;

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
