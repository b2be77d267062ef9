import assert from "node:assert/strict";
import { test } from "node:test";
import { configFor, mayRetry, refusalIn } from "../src/hls_config.ts";

const kCases: [number | undefined, boolean, number, boolean][] = [
  [0, false, 0, true],
  [0, false, 59, true],
  [0, false, 60, false],
  [503, false, 40, true],
  [502, false, 1, true],
  [500, false, 1, true],
  [500, false, 2, false],
  [404, false, 0, false],
  [401, false, 0, false],
  [429, false, 0, false],
  [undefined, false, 0, false], // no fragment
  [undefined, true, 1, true],
  [undefined, true, 2, false],
];
for (const [status, late, failures, again] of kCases) {
  test(`HlsConfig.Retries(${status}, ${late ? "late" : "failed"} ${failures} times)`, () => {
    assert.equal(mayRetry(status, late, failures), again);
  });
}

const kRefusals: [string, number | undefined][] = [
  ['{"error": {"code": 1203, "message": "No space is left for the stream"}}', 1203],
  ['{"result": {}}', undefined],
  ["<h1>503</h1>", undefined],
  ["", undefined],
];
for (const [body, code] of kRefusals) {
  test(`HlsConfig.FindsTheRefusalIn(${body})`, () => {
    assert.equal(refusalIn(body), code);
    assert.equal(refusalIn(new TextEncoder().encode(body).buffer), code);
  });
}

test("HlsConfig.TellsOfTroubleOnlyWhenAnotherAttemptFollows", () => {
  const told: number[] = [];
  const config = configFor(0, "/worker.js", (status) => told.push(status));
  const retry = config.fragLoadPolicy?.default.errorRetry;
  assert.ok(retry?.shouldRetry);
  const ask = (code: number) => retry.shouldRetry?.(retry, 0, false, { url: "", code }, false);
  assert.equal(ask(503), true);
  assert.equal(ask(404), false);
  assert.deepEqual(told, [503]);
});

test("HlsConfig.StartsWhereItIsTold", () => {
  assert.equal(configFor(3600, "/worker.js", () => undefined).startPosition, 3600);
});
