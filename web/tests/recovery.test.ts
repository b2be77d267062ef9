import assert from "node:assert/strict";
import { test } from "node:test";
import { Recovery, type Break } from "../src/recovery.ts";

const kAttempts: [Break, (number | undefined)[]][] = [
  ["stream", [0, 1000, undefined, undefined]],
  ["server", [500, 1000, 2000, 4000, ...new Array<number>(14).fill(8000), undefined]],
];
for (const [kind, pauses] of kAttempts) {
  test(`Recovery.TriesAgainEverMoreSlowlyAndThenGivesUp(${kind})`, () => {
    const recovery = new Recovery();
    assert.deepEqual(pauses.map(() => recovery.next(kind)), pauses);
  });
}

test("Recovery.CountsBothKindsOfBreaksApart", () => {
  const recovery = new Recovery();
  recovery.next("stream");
  assert.equal(recovery.next("server"), 500);
  assert.equal(recovery.next("stream"), 1000);
});

test("Recovery.HasAllAttemptsAnewWhenTheFilmRanForAWhile", () => {
  const recovery = new Recovery();
  recovery.next("stream");
  recovery.resumed(60);
  recovery.reached(70);
  assert.equal(recovery.next("stream"), 0);
});

test("Recovery.StillCountsWhenTheFilmBreaksOffSoonAgain", () => {
  const recovery = new Recovery();
  recovery.next("stream");
  recovery.resumed(60);
  recovery.reached(69);
  assert.equal(recovery.next("stream"), 1000);
});
