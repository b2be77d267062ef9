import assert from "node:assert/strict";
import { test } from "node:test";
import { nextItem } from "../src/menu.ts";

const kMoves: [string, number, number | undefined][] = [
  ["ArrowDown", 0, 1],
  ["ArrowDown", 2, 0],
  ["ArrowDown", -1, 0],
  ["ArrowUp", 0, 2],
  ["ArrowUp", 2, 1],
  ["ArrowUp", -1, 2],
  ["Home", 2, 0],
  ["End", 0, 2],
  ["Enter", 1, undefined],
  ["x", 1, undefined],
];
for (const [key, from, to] of kMoves) {
  test(`Menu.LeadsFrom${from}By${key}Of3To(${to})`, () => assert.equal(nextItem(key, from, 3), to));
}
