import assert from "node:assert/strict";
import { test } from "node:test";
import { remedyFor, troubleOf, willPass, type Breakage, type Broken, type Remedy, type Trouble } from "../src/breakage.ts";

const kSent = { status: 206, undecodable: false };
const kUndecodable = { status: 200, undecodable: true };
const kGone = { status: 404, undecodable: false };
const kSilent = { status: 0, undecodable: false };
const kBusy = { status: 503, undecodable: false };
const kFailed = { status: 500, undecodable: false };

const kCases: [Broken["format"], boolean, Breakage, Remedy][] = [
  ["raw", false, kSilent, "wait"],
  ["hls", true, kSilent, "wait"],
  ["hls", true, kBusy, "wait"],
  ["hls_remux", true, kBusy, "wait"],
  ["raw", true, kGone, "reopen"],
  ["hls", true, kGone, "reopen"],
  ["hls_remux", false, kGone, "reopen"],
  ["hls", true, { status: 401, undecodable: false }, "reopen"],
  ["raw", true, kFailed, "reopen"],
  ["hls", true, kFailed, "reopen"],
  ["hls_remux", true, kFailed, "convert"],
  ["hls_remux", false, { status: 409, undecodable: false }, "convert"],
  ["raw", true, kSent, "reopen"],
  ["raw", false, kSent, "convert"],
  ["raw", true, kUndecodable, "convert"],
  ["webm_remux", false, kUndecodable, "convert"],
  ["hls_remux", true, kUndecodable, "convert"],
  ["hls", true, kUndecodable, "reopen"],
  ["hls", false, kUndecodable, "give up"],
  ["ss", true, kBusy, "wait"],
  ["ss", true, kGone, "reopen"],
  ["ss", true, kUndecodable, "convert"],
  ["webm_remux", true, kGone, "reopen"],
  ["webm_remux", true, kSent, "reopen"],
];
for (const [format, played, breakage, remedy] of kCases) {
  const name = `${format}, ${played ? "played" : "not begun"}, ${JSON.stringify(breakage)}`;
  test(`Breakage.IsMetWith(${name})`, () => assert.equal(remedyFor(breakage, { format, conversion: "hls", played }), remedy));
}

const kWithoutHls: [Broken["format"], boolean, Remedy][] = [
  ["raw", false, "convert"],
  ["hls", false, "convert"],
  ["webm_remux", false, "give up"],
  ["webm_remux", true, "reopen"],
];
for (const [format, played, remedy] of kWithoutHls) {
  test(`Breakage.IsMetWithoutHlsWith(${format}, ${played ? "played" : "not begun"})`, () => {
    assert.equal(remedyFor(kUndecodable, { format, conversion: "webm_remux", played }), remedy);
  });
}

const kTroubles: [number, number | undefined, Trouble | undefined][] = [
  [0, undefined, "server"],
  [502, undefined, "server"],
  [503, undefined, "encoders"],
  [503, 129, "encoders"],
  [503, 1203, "disk"],
  [500, 129, undefined],
  [404, 128, undefined],
];
for (const [status, code, trouble] of kTroubles) {
  test(`Trouble.IsTold(${status}, ${code})`, () => assert.equal(troubleOf(status, code), trouble));
}

const kStatuses: [number, boolean][] = [[0, true], [502, true], [503, true], [504, true], [200, false], [404, false], [500, false]];
for (const [status, passes] of kStatuses) {
  test(`Breakage.WillPassByItself(${status})`, () => assert.equal(willPass(status), passes));
}
