// What a stream shows and lets be heard at each time is what the film has there, wherever the viewer has jumped before.
import assert from "node:assert/strict";
import path from "node:path";
import { after, before, test } from "node:test";
import { firstPictureOf, kClockFilms, kSeconds, look, makeClockFilms } from "./support/clock_films.mjs";
import { openHouse } from "./support/house.mjs";

const kOrigin = 1; // the presentation time of the film's beginning, in every fragment
const kSoundBesidePicture = 0.1;
const kLength = 0.1; // by which a fragment may differ from what the playlist says
const kHearing = 0.03; // a frame of sound, and what a codec blurs

let house;

before(async () => {
  house = await openHouse(makeClockFilms, { run_ahead_seconds: 10 });
});
after(() => house?.stop());

async function fetchText(url) {
  const answer = await fetch(url);
  assert.equal(answer.status, 200, url);
  return answer.text();
}

// The fragments of a media playlist: address, and the time at which the playlist has them begin.
async function fragmentsOf(url) {
  const text = await fetchText(url);
  const lengths = [...text.matchAll(/^#EXTINF:([0-9.]+)/gm)].map(([, seconds]) => Number(seconds));
  const addresses = text.split("\n").filter((line) => line && !line.startsWith("#"));
  let begin = kOrigin;
  return addresses.map((address, i) => {
    begin += lengths[i - 1] ?? 0;
    return { url: new URL(address, url).href, begin, length: lengths[i] };
  });
}

// The playlists of a stream: one with the picture and, where that has a playlist of its own, one with the sound.
async function playlistsOf(master) {
  const text = await fetchText(master);
  const main = text.split("\n").find((line) => line && !line.startsWith("#"));
  const sound = /^#EXT-X-MEDIA:TYPE=AUDIO.*URI="([^"]+)"/m.exec(text)?.[1];
  const playlists = [{ hasPicture: true, hasSound: !sound, fragments: await fragmentsOf(new URL(main, master).href) }];
  if (sound) playlists.push({ hasPicture: false, hasSound: true, fragments: await fragmentsOf(new URL(sound, master).href) });
  return playlists;
}

// Twenty fragments, the same ones in every run, far from the one before as often as near to it.
function jumps(count) {
  let state = 4711;
  return Array.from({ length: 20 }, () => {
    state = (state * 48271) % 0x7fffffff;
    return state % count;
  });
}

async function bytesOf(url) {
  const answer = await fetch(url);
  assert.equal(answer.status, 200, url);
  return Buffer.from(await answer.arrayBuffer());
}

// origin: the presentation time of picture 0 and of the beep of second 0.
function assertPicturesAreOnTime(pictures, { begin, length }, rate, origin) {
  assert.ok(Math.abs(pictures[0].time - begin) <= 1 / rate, `${pictures[0].time} instead of ${begin}`);
  const end = pictures.at(-1).time + 1 / rate;
  assert.ok(Math.abs(end - begin - length) <= kLength, `${end - begin} s instead of ${length}`);
  const last = Math.ceil(kSeconds * rate) - 1; // may stay for the rest of the sound
  for (const { time, number } of pictures) {
    const shown = Math.min(Math.round((time - origin) * rate), last);
    assert.ok(number === shown, `picture ${number} at ${time - origin} s`);
  }
}

function assertSoundIsOnTime({ from, until, beeps }, { begin }, origin) {
  assert.ok(Math.abs(from - begin) < kSoundBesidePicture, `sound from ${from} instead of ${begin}`);
  const end = Math.min(until - origin, kSeconds) - 0.1;
  for (let second = Math.ceil(from - origin + 0.1); second < end; second += 1) {
    const nearest = Math.min(...beeps.map((beep) => Math.abs(beep - origin - second)));
    assert.ok(nearest < kHearing, `no beep at ${second} s, but at ${beeps.map((beep) => beep - origin)}`);
  }
}

for (const { film, format, rate } of kClockFilms) {
  test(`Clock.ShowsTheFilmsOwnTimeWhereverItIsEntered(${film})`, async () => {
    const stream = await house.open({ film, format });
    const playlists = await playlistsOf(stream.master);
    const first = new Map();
    for (const number of jumps(playlists[0].fragments.length)) {
      for (const { fragments } of playlists) {
        const { url } = fragments[number];
        const bytes = await bytesOf(url);
        assert.ok(bytes.equals(first.get(url) ?? bytes), `${url} has changed`);
        first.set(url, bytes);
      }
    }
    const origin = kOrigin + firstPictureOf(path.join(house.folder, film));
    let before = -1;
    for (const { fragments, ...has } of playlists) {
      for (const fragment of fragments) {
        const { pictures, sound } = await look(await bytesOf(fragment.url), has);
        if (has.hasSound) assertSoundIsOnTime(sound, fragment, origin);
        if (!has.hasPicture) continue;
        assertPicturesAreOnTime(pictures, fragment, rate, origin);
        assert.ok(pictures[0].time > before, `${pictures[0].time} after ${before}`);
        before = pictures.at(-1).time;
      }
    }
    assert.ok(before >= kOrigin + kSeconds - 2 / rate, `all of the film: up to ${before}`);
    await house.close(stream);
  });
}
