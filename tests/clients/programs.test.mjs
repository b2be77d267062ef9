// ffmpeg and GStreamer, which take the addresses from the playlists as they stand, against the real service.
import assert from "node:assert/strict";
import { after, before, test } from "node:test";
import {
  kPlayed, kPlayedThrough, kSeconds, kSmooth, kSmoothSwitched, kSwitched, kTones, makeFilms, seeks,
} from "./support/films.mjs";
import { openHouse } from "./support/house.mjs";
import { kPrograms } from "./support/programs.mjs";

const kPictures = kSeconds * 25;

let house;

before(async () => {
  house = await openHouse(makeFilms);
});
after(() => house?.stop());

async function withStream(opening, watch) {
  const stream = await house.open(opening);
  await watch(stream.master);
  await house.close(stream);
}

async function playsThrough(program, master) {
  const { picture, sound } = await program.play(master);
  // What is encoded may last as long as the sound does, which ends with a whole frame of its own.
  assert.ok(picture.count >= kPictures && picture.count <= kPictures + 2, `${picture.count} pictures`);
  for (const { first, last, backward } of [picture, sound]) {
    assert.equal(backward, 0, "times only grow");
    assert.ok(last - first > kSeconds - 0.2, `${first} to ${last}`);
  }
  assert.ok(Math.abs(sound.first - picture.first) < 0.1, `sound from ${sound.first}, picture from ${picture.first}`);
}

const name = (program, what, { film, format }) => `${program.name}.${what}(${film}, ${format})`;

for (const program of kPrograms) {
  for (const opening of [...kPlayedThrough, ...(program.smooth ? kSmooth : [])]) {
    test(name(program, "PlaysFromBeginningToEnd", opening), () =>
      withStream(opening, (master) => playsThrough(program, master)));
  }

  for (const opening of [...kPlayed, ...(program.smooth ? kSmooth : [])]) {
    test(name(program, "SeeksAnywhere", opening), () => withStream(opening, async (master) => {
      for (const { wanted, picture } of await program.seek(master, seeks())) {
        assert.ok(Math.abs(picture.first - wanted) <= program.landing, `${picture.first} instead of ${wanted}`);
        assert.ok(picture.last > wanted + 0.2, `${picture.last} after ${wanted}`);
        assert.equal(picture.backward, 0);
      }
    }));
  }

  for (const opening of [...kSwitched, ...(program.smooth ? kSmoothSwitched : [])]) {
    test(name(program, "HearsEachTrack", opening), () => withStream(opening, async (master) => {
      const heard = (await program.switchSound(master)).map(({ pitch }) => pitch);
      assert.equal(heard.length, kTones.length);
      kTones.forEach((tone, i) => assert.ok(Math.abs(heard[i] - tone) < 20, `${heard} Hz`));
    }));
  }

  test(`${program.name}.IsTwoAtOnce`, () => Promise.all(
    kPlayed.slice(1).map((opening) => withStream(opening, (master) => playsThrough(program, master)))));
}
