import assert from "node:assert/strict";
import { test } from "node:test";
import { takeWelcome } from "../src/welcome.ts";

test("Welcome.IsTakenOutOfTheAddress", () => {
  assert.deepEqual(takeWelcome("http://k:8080/?welcome=abc-_1"), { secret: "abc-_1", rest: "/" });
});

test("Welcome.LeavesTheRestOfTheAddress", () => {
  assert.deepEqual(takeWelcome("http://k/?a=1&welcome=x#/film/3"), { secret: "x", rest: "/?a=1#/film/3" });
});

test("Welcome.IsNothingWhenTheAddressHoldsNone", () => {
  assert.equal(takeWelcome("http://k/#/?search=welcome=x"), undefined);
});

test("Welcome.IsTakenOutEvenWhenItIsEmpty", () => {
  assert.deepEqual(takeWelcome("http://k/?welcome="), { secret: "", rest: "/" });
});
