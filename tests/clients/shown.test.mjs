// What Chromium shows of Smooth Streaming and of live WebM is what the film has at that time, wherever the viewer has
// jumped before; and it plays live WebM from beginning to end.
import assert from "node:assert/strict";
import { after, before, test } from "node:test";
import { launch, newPage } from "../browser/support/browser.mjs";
import { kBits, kSeconds, kShownFilms, makeClockFilms } from "./support/clock_films.mjs";
import { seeks } from "./support/films.mjs";
import { openHouse } from "./support/house.mjs";
import { kSmoothPlayer, kWebmPlayer, openPlayer } from "./support/page_players.mjs";

const kPatience = 180_000;
const kPlayers = { ss: kSmoothPlayer, webm_remux: kWebmPlayer };

let browser;
let house;

before(async () => {
  [browser, house] = await Promise.all([launch(), openHouse((folder) => makeClockFilms(folder, kShownFilms))]);
});
after(async () => {
  await browser?.close();
  await house?.stop();
});

// window.look() reads the number of the picture that is shown; window.shown keeps those of a film that runs.
function watchPictures(bits) {
  const video = document.querySelector("video");
  const canvas = document.createElement("canvas");
  const context = canvas.getContext("2d", { willReadFrequently: true });
  window.shown = [];
  window.look = () => {
    const width = video.videoWidth;
    Object.assign(canvas, { width, height: 1 });
    // A row at once: the picture may change from one look to the next.
    context.drawImage(video, 0, video.videoHeight / 2, width, 1, 0, 0, width, 1);
    const { data } = context.getImageData(0, 0, width, 1);
    // In the middle of a column, away from its neighbours.
    const lit = (bit) => data[4 * Math.floor(((bit + 0.5) * width) / bits)] > 128;
    return Array.from({ length: bits }, (unused, bit) => (lit(bit) ? 2 ** bit : 0)).reduce((sum, one) => sum + one);
  };
  const keep = (now, { mediaTime }) => {
    window.shown.push({ time: mediaTime, number: window.look() });
    video.requestVideoFrameCallback(keep);
  };
  video.requestVideoFrameCallback(keep);
}

const failures = (page) => page.evaluate(() => window.player.errors);

// Goes there, paused, until the picture of that time is shown, or the one beside it.
async function shows(page, second, rate) {
  await page.evaluate(async (wanted) => {
    await window.player.load?.(wanted);
    document.querySelector("video").currentTime = wanted;
  }, second);
  const picture = Math.floor(second * rate);
  await page.waitForFunction((wanted) => {
    const video = document.querySelector("video");
    const there = !video.seeking && video.readyState >= 2 && Math.abs(window.look() - wanted) <= 1;
    return window.player.errors.length > 0 || there;
  }, picture).catch(async (error) => {
    const seen = await page.evaluate(() => {
      const { currentTime, seeking, readyState } = document.querySelector("video");
      return { currentTime, seeking, readyState, picture: window.look() };
    });
    throw new Error(`${JSON.stringify(seen)} instead of picture ${picture}`, { cause: error });
  });
  assert.deepEqual(await failures(page), []);
}

async function withPlayer({ film, format }, watch) {
  const stream = await house.open({ film, format });
  const page = await newPage(browser, house.origin);
  page.setDefaultTimeout(kPatience);
  try {
    await openPlayer(page, kPlayers[format], stream);
    await page.evaluate(watchPictures, kBits);
    await watch(page);
    assert.deepEqual(await failures(page), []);
    assert.deepEqual(page.complaints, []);
  } finally {
    await page.context().close();
  }
  await house.close(stream);
}

for (const { film, formats, rate } of kShownFilms) {
  for (const format of formats) {
    test(`Shown.IsTheFilmsOwnTimeWhereverItIsEntered(${film}, ${format})`, () => withPlayer({ film, format }, async (page) => {
      for (const second of seeks()) await shows(page, second, rate);
    }));

    test(`Shown.RunsWithTheFilmFromBeginningToEnd(${film}, ${format})`, () => withPlayer({ film, format }, async (page) => {
      await page.evaluate(() => Object.assign(document.querySelector("video"), { playbackRate: 4 }).play());
      await page.waitForFunction(() => window.player.errors.length > 0 || document.querySelector("video").ended);
      // The clock may run on while a picture is being looked at; what cannot be is that it goes back.
      const { at, shown } = await page.evaluate(() => ({ at: document.querySelector("video").currentTime, shown: window.shown }));
      assert.ok(Math.abs(at - kSeconds) < 0.3, `ends at ${at}`);
      const back = shown.filter(({ time, number }, i) => i > 0 && (time < shown[i - 1].time || number < shown[i - 1].number));
      assert.deepEqual(back, []);
      assert.ok(shown.length > 0);
    }));
  }
}
