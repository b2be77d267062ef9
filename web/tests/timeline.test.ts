// Seconds of films on stand-ins for a video element: of a stream that the browser knows, and of one that it does not.
import assert from "node:assert/strict";
import { test } from "node:test";
import type { SourceEvents } from "../src/source.ts";
import { ElementTimeline } from "../src/timeline.ts";
import { WebmSource } from "../src/webm_source.ts";

type Pairs = [number, number][];

function ranges(pairs: Pairs): TimeRanges {
  const pair = (index: number) => pairs[index] as [number, number];
  return { length: pairs.length, start: (index) => pair(index)[0], end: (index) => pair(index)[1] };
}

class StandIn extends EventTarget {
  currentTime = 0;
  duration = Infinity;
  src = "";
  buffered = ranges([]);
  seekable = ranges([[0, Infinity]]);
  removeAttribute(): void {
    this.src = "";
  }
  load(): void {
    this.currentTime = 0;
  }
}

const asVideo = (video: StandIn) => video as unknown as HTMLVideoElement;

const kBegins: [number, number, number][] = [
  [0, 100, 0],
  [40, 100, 40],
  [99.8, 100, 99],
  [0.5, 0.4, 0],
  [40, Infinity, 40],
];
for (const [at, duration, begun] of kBegins) {
  test(`Timeline.BeginsAt(${at} of ${duration})`, () => {
    const video = Object.assign(new StandIn(), { duration });
    new ElementTimeline(asVideo(video)).begin(at);
    assert.equal(video.currentTime, begun);
  });
}

function live(at: number, length = 200) {
  const video = new StandIn();
  const source = new WebmSource(asVideo(video), { stream_id: "a", format: "webm_remux" }, at, () => length, {} as SourceEvents);
  return { video, source, seek: () => new URLSearchParams(video.src).get("seek") };
}

test("Webm.IsAskedForFromTheSecondBefore", () => {
  const { video, source, seek } = live(75.7);
  assert.equal(seek(), "75");
  assert.equal(source.duration, 200);
  source.begin(75.7);
  assert.equal(video.currentTime, 75.7);
});

test("Webm.BeginsWhereItCanWhenItIsThereToItsLastByte", () => {
  const { video, source } = live(195.5);
  video.seekable = ranges([[0, 0]]);
  source.begin(195.5);
  assert.equal(video.currentTime, 0);
});

const kSeeks: [string, number, Pairs, Pairs, boolean][] = [
  ["within what is loaded", 52, [[48, 60]], [[0, Infinity]], true],
  ["to what came along before the place asked for", 49, [[48, 60]], [[0, Infinity]], false],
  ["behind what is loaded", 61, [[48, 60]], [[0, Infinity]], false],
  ["before what is loaded", 10, [[48, 60]], [[0, Infinity]], false],
  ["into a hole", 65, [[48, 60], [70, 80]], [[0, Infinity]], false],
  ["into a second part", 75, [[48, 60], [70, 80]], [[0, Infinity]], true],
  ["once the browser takes it for a whole film", 52, [[0, 60]], [[0, 0]], false],
  ["before nothing is there", 52, [], [[0, Infinity]], false],
];
for (const [name, to, buffered, seekable, inside] of kSeeks) {
  test(`Webm.SeeksInPlaceOrAnew(${name})`, async () => {
    const { video, source, seek } = live(50);
    Object.assign(video, { currentTime: 55, buffered: ranges(buffered), seekable: ranges(seekable) });
    source.seek(to);
    assert.equal(seek(), inside ? "50" : null);
    if (inside) {
      assert.equal(video.currentTime, to);
      return;
    }
    source.seek(to + 0.5); // a key held down: the last place is asked for
    while (seek() === null) await new Promise((resolve) => setTimeout(resolve, 5));
    assert.equal(seek(), String(to));
  });
}

test("Webm.AsksForNothingMoreWhenItIsLeftWhileItSeeks", async () => {
  const { source, seek } = live(50);
  source.seek(120);
  source.stop();
  const other = live(50);
  other.source.seek(120);
  while (other.seek() === null) await new Promise((resolve) => setTimeout(resolve, 5));
  assert.equal(seek(), null);
});

const kEnds: [number, number, boolean][] = [
  [199.9, 200, true],
  [197.5, 200, true],
  [120, 200, false],
  [120, NaN, true],
  [203, 200, true],
];
for (const [at, length, whole] of kEnds) {
  test(`Webm.Ends(${at} of ${length})`, () => {
    const { video, source, seek } = live(50, length);
    video.currentTime = at;
    assert.equal(source.ended(), whole);
    assert.equal(seek(), whole ? "50" : "120");
  });
}

test("Webm.HasEndedWhereItBreaksOffASecondTime", () => {
  const { video, source, seek } = live(50);
  video.currentTime = 120.4;
  assert.equal(source.ended(), false);
  video.currentTime = 150;
  assert.equal(source.ended(), false);
  assert.equal(seek(), "150");
  video.currentTime = 150.3;
  assert.equal(source.ended(), true);
});
