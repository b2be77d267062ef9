// Subtitles in the playlists of HLS: whoever plays them shows each at its time, wherever the viewer has jumped before.
import assert from "node:assert/strict";
import path from "node:path";
import { after, before, test } from "node:test";
import { launch, newPage } from "../browser/support/browser.mjs";
import { firstPictureOf } from "./support/clock_films.mjs";
import { openHouse, until } from "./support/house.mjs";
import { kHlsPlayers, openPlayer } from "./support/page_players.mjs";
import { kPrograms, run } from "./support/programs.mjs";
import { kBits, kCue, kCues, kOverTheEdge, kSeconds, kSubtitledFilms, makeSubtitledFilms } from "./support/subtitle_films.mjs";

const kPatience = 120_000;
const kTrack = "2"; // of the film that has its subtitle inside

let browser;
let house;

before(async () => {
  [browser, house] = await Promise.all([launch(), openHouse(makeSubtitledFilms)]);
});
after(async () => {
  await browser?.close();
  await house?.stop();
});

async function fetchText(url) {
  const answer = await fetch(url);
  assert.equal(answer.status, 200, url);
  assert.equal(answer.headers.get("access-control-allow-origin"), "*", url);
  return answer.text();
}

const addressesIn = (playlist) => playlist.split("\n").filter((line) => line && !line.startsWith("#"));

// The playlist of the stream's only subtitle.
async function subtitleOf({ master }) {
  const offers = [...(await fetchText(master)).matchAll(/^#EXT-X-MEDIA:TYPE=SUBTITLES.*URI="([^"]+)"/gm)];
  assert.equal(offers.length, 1);
  return offers[0][1];
}

// A track is being taken out of the film when it is asked for first; its windows are valid and empty until then.
async function untilThereAreCues(stream) {
  const [window] = addressesIn(await fetchText(await subtitleOf(stream)));
  await until(async () => {
    const text = await fetchText(window);
    assert.match(text, /^WEBVTT\nX-TIMESTAMP-MAP=MPEGTS:90000, LOCAL:00:00:00.000\n\n\d\d:/);
    return text.includes("\n2\n");
  }, () => "no cues come");
}

async function withStream(opening, watch) {
  const stream = await house.open(opening);
  await untilThereAreCues(stream);
  await watch(stream);
  await house.close(stream);
}

async function withPlayer(player, opening, watch) {
  await withStream(opening, async (stream) => {
    const page = await newPage(browser, house.origin);
    page.setDefaultTimeout(kPatience);
    try {
      await openPlayer(page, player, stream);
      await page.evaluate(watchPictures, kBits);
      await watch(page);
      assert.deepEqual(await page.evaluate(() => window.player.errors), []);
      assert.deepEqual(page.complaints, []);
    } finally {
      await page.context().close();
    }
  });
}

// window.seen: the time and the number of the picture that was shown last. window.texts(): what is to be read now.
function watchPictures(bits) {
  const video = document.querySelector("video");
  const canvas = document.createElement("canvas");
  const context = canvas.getContext("2d", { willReadFrequently: true });
  const keep = (now, { mediaTime }) => {
    const width = video.videoWidth;
    Object.assign(canvas, { width, height: 1 });
    context.drawImage(video, 0, video.videoHeight / 2, width, 1, 0, 0, width, 1);
    const { data } = context.getImageData(0, 0, width, 1);
    const lit = (bit) => data[4 * Math.floor(((bit + 0.5) * width) / bits)] > 128;
    const number = Array.from({ length: bits }, (unused, bit) => (lit(bit) ? 2 ** bit : 0)).reduce((sum, one) => sum + one);
    window.seen = { time: mediaTime, number };
    video.requestVideoFrameCallback(keep);
  };
  video.requestVideoFrameCallback(keep);
  window.shown = () => [...video.textTracks].filter(({ mode }) => mode === "showing");
  window.texts = () => window.shown().flatMap(({ activeCues }) => [...(activeCues ?? [])].map(({ text }) => text));
}

const seek = (page, second) => page.evaluate((wanted) => {
  window.seen = undefined;
  document.querySelector("video").currentTime = wanted;
}, second);

// Goes there, paused; what is to be read is that of the time, and the picture with it is that of the time too.
async function reads(page, { rate, off }, second) {
  await seek(page, second);
  const wanted = kCues.filter(({ from, to }) => from <= second && second < to).map(({ text }) => text).sort();
  // Each once, and no other.
  const complete = (texts) => window.player.errors.length > 0 ||
    (window.seen && JSON.stringify(window.texts().sort()) === JSON.stringify(texts));
  await page.waitForFunction(complete, wanted).catch(async (error) => {
    throw new Error(`at ${second}: ${await page.evaluate(() => JSON.stringify(window.texts()))} instead of ${wanted}`, { cause: error });
  });
  assert.deepEqual(await page.evaluate(() => window.player.errors), []);
  const { seen, cues } = await page.evaluate(() => ({
    seen: window.seen,
    cues: window.shown().flatMap(({ activeCues }) => [...activeCues].map(({ startTime, text }) => ({ startTime, text }))),
  }));
  // Where the film's own clock has its first picture on the player's.
  const origin = seen.time - seen.number / rate;
  for (const { startTime, text } of cues) {
    const { from } = kCues.find((cue) => cue.text === text);
    assert.ok(Math.abs(startTime - origin - from) <= off + 0.001, `${text} at ${startTime - origin} instead of ${from}`);
  }
}

// Twenty places, the same ones in every run, away from where cues change, none twice in a row; among them both sides of
// the windows' edge.
function places() {
  let place = 7;
  const spread = Array.from({ length: 18 }, () => {
    place = (place * 2) % 37;
    return place + kCue / 2;
  });
  return [...spread, 29.75, 30.25];
}

async function readsEverywhere(page, opening) {
  for (const second of places()) await reads(page, opening, second);
  const repeated = await page.evaluate((text) => window.shown()
    .map(({ cues }) => [...cues].filter((cue) => cue.text === text).length), kOverTheEdge.text);
  assert.ok(repeated.every((count) => count <= 1), `the cue over the edge stands there ${repeated} times`);
}

const subtitles = (page) => page.evaluate(() => window.player.subtitles());

for (const player of kHlsPlayers) {
  for (const opening of kSubtitledFilms) {
    test(`${player.name}.ReadsWhatBelongsToThePicture(${opening.film})`, () => withPlayer(player, opening, async (page) => {
      assert.deepEqual((await subtitles(page)).map(({ active, ...told }) => told), [{ name: "English", language: "en" }]);
      await page.evaluate(() => window.player.read(0));
      await until(async () => (await subtitles(page))[0].active, () => "the subtitle is not shown");
      await readsEverywhere(page, opening);
    }));
  }

  // Shaka shows what its user asks for.
  if (player.name === "Shaka") continue;
  test(`${player.name}.ReadsTheSubtitleThatWasChosenAtOnce`, () => {
    const opening = { ...kSubtitledFilms[0], subtitle_id: kTrack };
    return withPlayer(player, opening, async (page) => {
      await until(async () => (await subtitles(page))[0].active, () => "the subtitle is not shown");
      await reads(page, opening, 10.25);
    });
  });
}

for (const { film, format, inside } of kSubtitledFilms) {
  test(`ffmpeg.ReadsEachCueOnce(${film})`, () => withStream({ film, format }, async (stream) => {
    const text = String(await run("ffmpeg", ["-nostdin", "-v", "error", "-i", await subtitleOf(stream), "-f", "srt", "-"]));
    const clock = (match) => match.slice(1).map(Number);
    const seconds = ([hours, minutes, rest]) => hours * 3600 + minutes * 60 + rest;
    const cues = text.replaceAll(",", ".").trim().split(/\n\n+/).map((cue) => {
      const [, times, ...lines] = cue.split("\n");
      const at = clock(/(\d+):(\d+):([\d.]+) --> (\d+):(\d+):([\d.]+)/.exec(times));
      return { from: seconds(at.slice(0, 3)), to: seconds(at.slice(3)), text: lines.join("\n") };
    });
    assert.deepEqual(cues.map((cue) => cue.text), kCues.map((cue) => cue.text));
    // What is inside counts from where the film begins, perhaps with sound before its first picture.
    const shift = inside ? firstPictureOf(path.join(house.folder, film)) : 0;
    cues.forEach(({ from, to }, i) => {
      assert.ok(Math.abs(from - shift - kCues[i].from) < 0.002 && Math.abs(to - shift - kCues[i].to) < 0.002,
        `${from} to ${to} instead of ${kCues[i].from} to ${kCues[i].to}`);
    });
  }));

  for (const program of kPrograms) {
    test(`${program.name}.PlaysAFilmThatHasSubtitles(${film})`, () => withStream({ film, format }, async (stream) => {
      const { picture } = await program.play(stream.master);
      assert.ok(picture.count >= kSeconds * 25 - 1, `${picture.count} pictures`);
    }));
  }
}
