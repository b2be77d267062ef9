import assert from "node:assert/strict";
import { test } from "node:test";
import { readPositions, remember, type Positions } from "../src/positions.ts";

const at = (seconds: number, saved = 1) => ({ at: seconds, duration: 100, saved });

test("Positions.KeepWhereAFilmWasLeft", () => {
  assert.deepEqual(remember({}, 3, at(50)), { 3: at(50) });
});

const kForgotten: [string, { at: number; duration: number; saved: number }][] = [
  ["BarelyBegun", at(9)],
  ["AllButSeen", at(96)],
  ["OfUnknownLength", { at: 50, duration: NaN, saved: 1 }],
];
for (const [name, position] of kForgotten) {
  test(`Positions.ForgetAFilmThatIs${name}`, () => assert.deepEqual(remember({ 3: at(50) }, 3, position), {}));
}

test("Positions.LeaveTheGivenOnesUntouched", () => {
  const before: Positions = { 3: at(50) };
  remember(before, 3, at(60));
  assert.deepEqual(before, { 3: at(50) });
});

test("Positions.KeepTheMostRecentOnes", () => {
  let kept: Positions = {};
  for (let film = 1; film <= 510; film += 1) kept = remember(kept, film, at(50, film));
  assert.equal(Object.keys(kept).length, 500);
  assert.equal(kept[10], undefined);
  assert.deepEqual(kept[11], at(50, 11));
});

const kStored: [string | null, Positions][] = [
  [null, {}],
  ["", {}],
  ["not json", {}],
  ["null", {}],
  ["[1]", {}],
  ['{"3":null,"4":{"at":"x","duration":1,"saved":1},"5":{"at":50,"duration":100,"saved":1}}', { 5: at(50) }],
];
for (const [text, positions] of kStored) {
  test(`Positions.AreReadWithCare(${text})`, () => assert.deepEqual(readPositions(text), positions));
}
