import assert from "node:assert/strict";
import { test } from "node:test";
import { configFor } from "../src/hls_config.ts";

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
