import assert from "node:assert/strict";
import { test } from "node:test";
import { boundDelay, readHabits, withFilm, type SubtitleHabits } from "../src/subtitle_store.ts";

const kNothing: SubtitleHabits = { size: "medium", films: {} };

for (const text of [null, "", "nonsense", "null", "[]", "7", '{"size":"gigantic","language":7,"films":"none"}']) {
  test(`SubtitleHabits.AreUsualWhereNothingIsKept(${text})`, () => assert.deepEqual(readHabits(text), kNothing));
}

test("SubtitleHabits.AreKept", () => {
  const films = { 7: { chosen: "/v/a.srt", tuned: { "/v/a.srt": { charset: "BIG5", delay: -0.3 } }, saved: 5 } };
  const habits: SubtitleHabits = { size: "huge", language: "de", films };
  assert.deepEqual(readHabits(JSON.stringify(habits)), habits);
});

test("SubtitleHabits.KeepWhatIsSound", () => {
  const films = { 1: null, 2: { chosen: 5, tuned: [], saved: "now" }, 3: { chosen: null, tuned: { 4: { delay: 1e9, charset: 1 } }, saved: 2 } };
  assert.deepEqual(readHabits(JSON.stringify({ size: "small", films })).films, {
    1: { tuned: {}, saved: 0 },
    2: { tuned: {}, saved: 0 },
    3: { chosen: null, tuned: { 4: { delay: 300 } }, saved: 2 },
  });
});

test("SubtitleHabits.KeepTheFilmsSeenLast", () => {
  let habits = kNothing;
  for (let film = 1; film <= 201; film += 1) habits = withFilm(habits, film, { chosen: null, saved: film });
  assert.equal(Object.keys(habits.films).length, 200);
  assert.equal(habits.films[1], undefined);
  assert.deepEqual(habits.films[201], { chosen: null, saved: 201 });
});

const kDelays: [number, number][] = [[0.1 + 0.2, 0.3], [-0.1 - 0.2, -0.3], [0.04, 0], [301, 300], [-301, -300]];
for (const [wanted, delay] of kDelays) {
  test(`SubtitleDelay.GoesByTenths(${wanted})`, () => assert.equal(boundDelay(wanted), delay));
}
