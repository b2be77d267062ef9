import assert from "node:assert/strict";
import { test } from "node:test";
import { formatSharpness, formatSize, formatTime, plural, speakTime } from "../src/format.ts";

const kTimes: [number, string, string][] = [
  [0, "0:00", "0 seconds"],
  [9.9, "0:09", "9 seconds"],
  [75, "1:15", "1 minute 15 seconds"],
  [3600, "1:00:00", "1 hour"],
  [3675, "1:01:15", "1 hour 1 minute 15 seconds"],
  [360000, "100:00:00", "100 hours"],
  [-5, "0:00", "0 seconds"],
  [NaN, "0:00", "0 seconds"],
  [Infinity, "0:00", "0 seconds"],
];
for (const [seconds, shown, said] of kTimes) {
  test(`Time.IsWrittenAndSpoken(${seconds})`, () => {
    assert.equal(formatTime(seconds), shown);
    assert.equal(speakTime(seconds), said);
  });
}

const kSizes: [number, string][] = [
  [0, "0 bytes"],
  [999, "999 bytes"],
  [1500, "1.5 kB"],
  [734003200, "734 MB"],
  [4.5e9, "4.5 GB"],
  [5e15, "5000 TB"],
];
for (const [bytes, shown] of kSizes) {
  test(`Size.IsWritten(${bytes})`, () => assert.equal(formatSize(bytes), shown));
}

const kPictures: [number, number, string][] = [
  [3840, 2160, "4K"],
  [3840, 1600, "4K"],
  [1920, 800, "1080p"],
  [1440, 1080, "1080p"],
  [1080, 1920, "1080p"],
  [1280, 720, "720p"],
  [720, 576, ""],
  [0, 0, ""],
];
for (const [width, height, shown] of kPictures) {
  test(`Sharpness.IsNamed(${width}x${height})`, () => assert.equal(formatSharpness(width, height), shown));
}

test("Plural.CountsAndGroups", () => {
  assert.deepEqual([plural(1, "film"), plural(0, "film"), plural(10000, "film")], ["1 film", "0 films", "10,000 films"]);
});
