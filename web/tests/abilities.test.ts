import assert from "node:assert/strict";
import { test } from "node:test";
import { playsHls, playsWebm, takesFragments, typeOf, type Abilities } from "../src/abilities.ts";

const kTypes: [string, string, string, string | undefined][] = [
  ["mp4", "h264", "aac", 'video/mp4; codecs="avc1.640028, mp4a.40.2"'],
  ["mov", "h264", "", 'video/mp4; codecs="avc1.640028"'],
  ["mp4", "", "aac", 'video/mp4; codecs="mp4a.40.2"'],
  ["mp4", "av1", "flac", 'video/mp4; codecs="av01.0.08M.08, flac"'],
  ["webm", "vp9", "opus", 'video/webm; codecs="vp09.00.40.08, opus"'],
  ["mkv", "hevc_10bit", "vorbis", 'video/x-matroska; codecs="hvc1.2.4.L120.90, vorbis"'],
  ["avi", "h264", "aac", undefined],
  ["mp4", "h264_10bit", "aac", undefined],
  ["mp4", "h264", "ac3", undefined],
  ["mp4", "", "", undefined],
  ["mp4", "constructor", "aac", undefined],
  ["toString", "h264", "aac", undefined],
];
for (const [container, video_codec, audio_codec, type] of kTypes) {
  test(`Abilities.NameTheTypeOf(${container}, ${video_codec}, ${audio_codec})`, () => {
    assert.equal(typeOf({ container, video_codec, audio_codec }), type);
  });
}

const none = () => false;
const onlyWith = (part: string) => (type: string) => type.includes(part);

test("Abilities.TakeHlsBySeveralWays", () => {
  const through_page: Abilities = { file: none, fragments: onlyWith("avc1") };
  const alone: Abilities = { file: (type) => /mpegurl|avc1/.test(type), fragments: none };
  const without_codec: Abilities = { file: onlyWith("mpegurl"), fragments: none };
  assert.deepEqual([through_page, alone, without_codec].map(playsHls), [true, true, false]);
  assert.deepEqual([through_page, alone, without_codec].map(takesFragments), [true, false, false]);
});

test("Abilities.TakeWebmAsAFile", () => {
  assert.equal(playsWebm({ file: onlyWith("vp8"), fragments: none }), true);
  assert.equal(playsWebm({ file: none, fragments: onlyWith("vp8") }), false);
});
