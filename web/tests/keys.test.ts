import assert from "node:assert/strict";
import { test } from "node:test";
import { neighbour, type Arrow, type Box } from "../src/grid_keys.ts";
import { playerAction, type Key, type PlayerAction } from "../src/player_keys.ts";
import { tapSide } from "../src/surface.ts";

const kKeys: [Key, PlayerAction | undefined][] = [
  [{ key: " " }, { name: "toggle" }],
  [{ key: "K" }, { name: "toggle" }],
  [{ key: "ArrowLeft" }, { name: "skip", seconds: -5 }],
  [{ key: "l" }, { name: "skip", seconds: 10 }],
  [{ key: "7" }, { name: "jump", share: 0.7 }],
  [{ key: "ArrowDown" }, { name: "louder", by: -0.1 }],
  [{ key: "m" }, { name: "mute" }],
  [{ key: "f" }, { name: "fullscreen" }],
  [{ key: "a" }, { name: "sound" }],
  [{ key: "q" }, { name: "quality" }],
  [{ key: "s" }, { name: "subtitles" }],
  [{ key: "C" }, { name: "toggle subtitles" }],
  [{ key: "g" }, { name: "delay", by: -0.1 }],
  [{ key: "h" }, { name: "delay", by: 0.1 }],
  [{ key: "?" }, { name: "help" }],
  [{ key: "Escape" }, { name: "leave" }],
  [{ key: "f", ctrlKey: true }, undefined],
  [{ key: "ArrowLeft", altKey: true }, undefined],
  [{ key: "m", metaKey: true }, undefined],
  [{ key: "x" }, undefined],
  [{ key: "F5" }, undefined],
  [{ key: "constructor" }, undefined],
];
for (const [key, action] of kKeys) {
  test(`PlayerKeys.Mean(${JSON.stringify(key)})`, () => assert.deepEqual(playerAction(key), action));
}

// 0 1 2
// 3 4 5
// 6
const kGrid: Box[] = Array.from({ length: 7 }, (_, index) => ({ left: (index % 3) * 100, top: Math.floor(index / 3) * 80 }));
const kMoves: [number, Arrow, number][] = [
  [0, "ArrowRight", 1],
  [2, "ArrowRight", 3],
  [3, "ArrowLeft", 2],
  [0, "ArrowLeft", 0],
  [6, "ArrowRight", 6],
  [1, "ArrowDown", 4],
  [4, "ArrowUp", 1],
  [5, "ArrowDown", 6],
  [6, "ArrowDown", 6],
  [6, "ArrowUp", 3],
  [1, "ArrowUp", 1],
  [4, "Home", 0],
  [0, "End", 6],
];
for (const [from, arrow, to] of kMoves) {
  test(`GridKeys.LeadFrom${from}By${arrow}To${to}`, () => assert.equal(neighbour(kGrid, from, arrow), to));
}

test("GridKeys.StayInAGridOfOne", () => assert.equal(neighbour([{ left: 0, top: 0 }], 0, "ArrowDown"), 0));

const kTaps: [number, string | undefined][] = [
  [10, "rewind"],
  [50, undefined],
  [90, "forward"],
];
for (const [x, side] of kTaps) {
  test(`Taps.SkipAtTheSides(${x} of 100)`, () => assert.equal(tapSide(x, 100), side));
}
