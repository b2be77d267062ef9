import assert from "node:assert/strict";
import { test } from "node:test";
import { comesAsHls, mediaAddress, refusalIn } from "../src/stream.ts";

const kStart = "/webapi/entry.cgi?api=CRVN.Kinora2.Stream&version=1&method=stream&id=a1";
const kAddresses: [string, number | undefined, string][] = [
  ["raw", undefined, `${kStart}&format=raw`],
  ["hls", undefined, `${kStart}&format=hls`],
  ["webm_remux", 0, `${kStart}&format=webm_remux&seek=0`],
  ["webm_remux", 75, `${kStart}&format=webm_remux&seek=75`],
  ["ss", undefined, "/webapi/entry.cgi/ss/-/a1/Manifest"],
];
for (const [format, seek, address] of kAddresses) {
  test(`Stream.IsFetchedFrom(${format}, ${seek})`, () => {
    assert.equal(mediaAddress({ stream_id: "a1", format }, seek), address);
  });
}

test("Stream.StaysOneNameInItsAddress", () => {
  assert.equal(mediaAddress({ stream_id: "../a?b", format: "ss" }), "/webapi/entry.cgi/ss/-/..%2Fa%3Fb/Manifest");
});

test("Stream.IsHlsInBothItsFormats", () => {
  const formats = ["raw", "hls", "hls_remux", "ss", "webm_remux"];
  assert.deepEqual(formats.filter((format) => comesAsHls({ stream_id: "a1", format })), ["hls", "hls_remux"]);
});

const kRefusals: [string, number | undefined][] = [
  ['{"error": {"code": 1203, "message": "No space is left for the stream"}}', 1203],
  ['{"result": {}}', undefined],
  ["<h1>503</h1>", undefined],
  ["", undefined],
];
for (const [body, code] of kRefusals) {
  test(`Stream.FindsTheRefusalIn(${body})`, () => {
    assert.equal(refusalIn(body), code);
    assert.equal(refusalIn(new TextEncoder().encode(body).buffer), code);
  });
}
