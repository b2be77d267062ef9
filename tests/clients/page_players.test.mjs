// hls.js, Shaka Player and dash.js, in Chromium, against the real service.
import assert from "node:assert/strict";
import { after, before, test } from "node:test";
import { launch, newPage } from "../browser/support/browser.mjs";
import {
  kPlayed, kPlayedThrough, kSeconds, kSmooth, kSmoothSwitched, kSwitched, kTracks, makeFilms, seeks,
} from "./support/films.mjs";
import { openHouse, until } from "./support/house.mjs";
import { kHlsPlayers, kSmoothPlayer, openPlayer } from "./support/page_players.mjs";

const kFast = 8; // times the usual speed
const kPatience = 120_000;

let browser;
let house;

before(async () => {
  [browser, house] = await Promise.all([launch(), openHouse(makeFilms)]);
});
after(async () => {
  await browser?.close();
  await house?.stop();
});

// Opens the film in a player of its own, and leaves nothing of both.
async function withPlayer(player, opening, watch) {
  const stream = await house.open(opening);
  const page = await newPage(browser, house.origin);
  page.setDefaultTimeout(kPatience);
  try {
    await openPlayer(page, player, stream);
    await watch(page);
    await isContent(page);
    assert.deepEqual(await page.evaluate(() => window.jumps), [], "the clock only grows");
    assert.deepEqual(page.complaints, []);
  } finally {
    await page.context().close();
  }
  await house.close(stream);
}

async function isContent(page) {
  assert.deepEqual(await page.evaluate(() => window.player.errors), []);
}

const play = (page, rate) => page.evaluate((playbackRate) => {
  const video = document.querySelector("video");
  video.playbackRate = playbackRate;
  return video.play();
}, rate);

async function plays(page, second) {
  await page.waitForFunction((wanted) => {
    const video = document.querySelector("video");
    return window.player.errors.length > 0 || (!video.seeking && video.currentTime >= wanted);
  }, second);
  await isContent(page);
}

async function ends(page) {
  await page.waitForFunction(() => window.player.errors.length > 0 || document.querySelector("video").ended);
  await isContent(page);
}

const state = (page) => page.evaluate(() => {
  const video = document.querySelector("video");
  const ranges = Array.from({ length: video.buffered.length }, (unused, i) => [video.buffered.start(i), video.buffered.end(i)]);
  return { at: video.currentTime, duration: video.duration, width: video.videoWidth, ranges };
});

async function playsToTheEnd(page) {
  await play(page, kFast);
  await ends(page);
  const { at, duration, width, ranges } = await state(page);
  assert.ok(Math.abs(duration - kSeconds) < 0.2, `${duration} s long`);
  assert.ok(at > duration - 0.2, `at ${at}`);
  assert.equal(width, 320);
  assert.equal(ranges.length, 1, `in one piece: ${JSON.stringify(ranges)}`);
  assert.ok(ranges[0][1] >= duration - 0.2, `to the end: ${ranges[0]}`);
  return ranges[0][0];
}

async function playsThrough(page) {
  const from = await playsToTheEnd(page);
  assert.ok(from <= 0.1, `from the beginning: ${from}`);
}

async function seeksTo(page, second) {
  const landed = await page.evaluate((wanted) => new Promise((resolve) => {
    const video = document.querySelector("video");
    const look = setInterval(() => window.player.errors.length > 0 && done(), 50);
    const done = () => { clearInterval(look); resolve(video.currentTime); };
    video.addEventListener("seeked", done, { once: true });
    video.currentTime = wanted;
  }), second);
  assert.ok(Math.abs(landed - second) < 0.5, `${landed} instead of ${second}`);
  await plays(page, second + 0.3);
}

const kPlayers = [
  ...kHlsPlayers.map((player) => ({ ...player, through: kPlayedThrough, played: kPlayed, switched: kSwitched, tracks: kTracks })),
  // Its manifest has no place for the tracks' names.
  { ...kSmoothPlayer, through: kSmooth, played: kSmooth, switched: kSmoothSwitched, tracks: kTracks.map(({ language }) => ({ language })) },
];

for (const player of kPlayers) {
  for (const opening of player.through) {
    test(`${player.name}.PlaysFromBeginningToEnd(${opening.film})`, () => withPlayer(player, opening, playsThrough));
  }

  for (const opening of player.played) {
    test(`${player.name}.SeeksAnywhere(${opening.film})`, () => withPlayer(player, opening, async (page) => {
      await play(page, 2);
      for (const second of seeks()) await seeksTo(page, second);
    }));
  }

  for (const opening of player.switched) {
    test(`${player.name}.SwitchesTheSound(${opening.film})`, () => withPlayer(player, opening, async (page) => {
      await play(page, 1);
      await plays(page, 1);
      const tracks = () => page.evaluate(() => window.player.tracks());
      assert.deepEqual((await tracks()).map(({ active, ...told }) => told), player.tracks);
      assert.deepEqual((await tracks()).map(({ active }) => active), [true, false]);
      for (const chosen of [1, 0]) {
        const { at } = await state(page);
        await page.evaluate((i) => window.player.choose(i), chosen);
        await plays(page, at + 1);
        await until(async () => (await tracks())[chosen].active, () => "the track is not switched");
      }
      await playsToTheEnd(page);
    }));
  }

  test(`${player.name}.IsTwoAtOnce`, () => Promise.all(
    player.played.slice(-2).map((opening) => withPlayer(player, opening, playsThrough))));
}
