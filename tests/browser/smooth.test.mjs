// Films that come as Smooth Streaming, in every state that a server can bring a player into, against the stand-in.
import assert from "node:assert/strict";
import { mkdtempSync } from "node:fs";
import { tmpdir } from "node:os";
import path from "node:path";
import { after, afterEach, before, beforeEach, test } from "node:test";
import { film, kPassword, kUser, startMock } from "./mock/server.mjs";
import { kChunk, kSeconds, makeSmooth } from "./mock/smooth_media.mjs";
import { launch, newPage, playsPast, signIn, until, videoState } from "./support/browser.mjs";
import { keepsStepOnceChosen } from "./support/subtitles.mjs";

const kPage = path.join(process.env.KINORA_PREFIX, "share/web");
const media = (name) => path.join(process.env.KINORA_MEDIA, name);
const kLong = 120_000; // for what waits for attempts with pauses between them

let browser;
let smooth;
let mock;
let page;

before(async () => {
  smooth = makeSmooth(mkdtempSync(path.join(tmpdir(), "smooth-")));
  browser = await launch();
});
after(() => browser?.close());
beforeEach(async () => {
  const films = [1, 2].map((id) => film(id, { duration: kSeconds }));
  mock = await startMock({ page: kPage, media: media("h264_aac.mp4"), films, smooth });
  mock.auto = () => "ss";
  mock.sounds[1] = [{ id: "0", title: "Original", language: "eng" }, { id: "1", title: "Kommentar", language: "ger" }];
  page = await newPage(browser, mock.origin);
  await signIn(page, kUser, kPassword);
});
afterEach(async () => {
  assert.deepEqual(page.complaints, []);
  assert.deepEqual(page.foreign, []);
  await page.context().close();
  await mock.close();
});

async function watch(id = 1) {
  await page.goto(`/#/film/${id}`);
  await playsPast(page, 0.3);
}

// When the chunks of a track begin that were asked for, in seconds, in order.
function chunks(track = "video") {
  const pattern = new RegExp(`/Fragments\\(${track}=(\\d+)\\)$`);
  return mock.asks("stream").flatMap((call) => {
    const found = pattern.exec(call.get("fragment") ?? "");
    return found ? [Number(found[1]) / 1e7] : [];
  });
}

const alerts = () => page.getByRole("alert").count();
const opened = () => mock.asks("open").length;
const openMenu = (name) => page.getByRole("button", { name, exact: true }).click();
const item = (name) => page.getByRole("menuitemradio", { name });
const isChecked = async (name) => (await item(name).getAttribute("aria-checked")) === "true";

test("Smooth.PlaysAndSeeksAnywhere", async () => {
  await watch();
  const { duration, width, error } = await videoState(page);
  assert.ok(Math.abs(duration - kSeconds) < 1, `${duration} s`);
  assert.equal(width, 192);
  assert.equal(error, 0);
  for (const [key, second] of [["9", 180], ["5", 100], ["1", 20]]) {
    await page.keyboard.press(key);
    await playsPast(page, second);
    assert.ok((await videoState(page)).at < second + 15);
  }
  assert.equal(opened(), 1);
  assert.equal(await alerts(), 0);
});

test("Smooth.BeginsWhereTheFilmWasLeftWithoutAChunkFromElsewhere", async () => {
  await watch();
  await page.keyboard.press("8");
  await playsPast(page, 160);
  await page.keyboard.press("Escape");
  await page.locator("a.card").first().waitFor();
  mock.asked.length = 0;
  await page.locator('a.card[data-film="1"]').click();
  await playsPast(page, 160);
  const [first] = chunks();
  assert.ok(first > 160 - 2 * kChunk, `chunks ${chunks()}`);
  assert.ok(!chunks().some((second) => second < first), `chunks ${chunks()}`);
});

test("Smooth.GoesBackInsideWhatIsLoadedWithoutARequest", async () => {
  await watch();
  await playsPast(page, 6);
  await page.keyboard.press("k");
  await page.waitForFunction(() => document.querySelector("video").paused);
  const { at } = await videoState(page);
  await page.keyboard.press("ArrowLeft");
  await page.waitForFunction((wanted) => {
    const video = document.querySelector("video");
    return !video.seeking && video.readyState >= 2 && Math.abs(video.currentTime - wanted) < 0.5;
  }, at - 5);
  assert.equal(new Set(chunks()).size, chunks().length, `chunks ${chunks()}`);
});

test("Smooth.EndsWithItsLastChunk", async () => {
  await watch();
  await page.keyboard.press("9");
  await playsPast(page, 180);
  await page.evaluate(() => Object.assign(document.querySelector("video"), { playbackRate: 4 }));
  await page.waitForFunction(() => document.querySelector("video").ended, undefined, { timeout: kLong });
  await page.locator(".big-play").waitFor();
});

test("Smooth.FetchesItsProgramOnlyForFilmsThatNeedIt", async () => {
  const scripts = [];
  page.on("request", (request) => request.url().endsWith(".js") && scripts.push(request.url()));
  mock.auto = (id) => (id === 1 ? "raw" : "ss");
  await watch(1);
  assert.deepEqual(scripts.filter((url) => /smooth|hls/.test(url)), []);
  await page.keyboard.press("Escape");
  await watch(2);
  assert.equal(scripts.filter((url) => url.includes("smooth_source")).length, 1);
});

test("Smooth.ClosesItsStreamWhenTheFilmIsLeftAndWhenThePageIs", async () => {
  await watch();
  assert.equal(mock.streams.size, 1);
  await page.keyboard.press("Escape");
  await until(() => mock.streams.size === 0);
  await watch(2);
  await page.goto("about:blank");
  await until(() => mock.streams.size === 0);
});

test("Sound.IsNamedByTheFilmAndChosenWithoutOpeningItAnew", async () => {
  await watch();
  await openMenu("Sound");
  await item("English Original").waitFor();
  assert.equal(await isChecked("English Original"), true);
  assert.deepEqual(chunks("audio_1"), []);
  await item("German Kommentar").click();
  await until(() => chunks("audio_1").length > 0);
  const { at } = await videoState(page);
  await playsPast(page, at + 0.5);
  await openMenu("Sound");
  assert.equal(await isChecked("German Kommentar"), true);
  assert.equal(opened(), 1);
});

test("Sound.StaysChosenWhenTheStreamIsOpenedAgain", async () => {
  await watch();
  await openMenu("Sound");
  await item("German Kommentar").click();
  await until(() => chunks("audio_1").length > 0);
  mock.sweep();
  mock.asked.length = 0;
  await page.keyboard.press("9");
  await until(() => opened() === 1);
  await playsPast(page, 180);
  assert.equal(mock.asks("open")[0].get("audio_track"), "1");
  const stream = [...mock.streams.keys()].at(-1);
  const heard = mock.asks("stream").filter((call) => call.get("id") === stream && /audio_/.test(call.get("fragment") ?? ""));
  assert.ok(heard.length > 0);
  assert.deepEqual(heard.filter((call) => call.get("fragment").includes("audio_0")), []);
});

test("Swept.StreamIsOpenedAgainAtItsPosition", async () => {
  await watch();
  mock.sweep();
  await page.keyboard.press("8");
  await playsPast(page, 160);
  assert.ok((await videoState(page)).at < 175);
  assert.equal(opened(), 2);
  assert.equal(await alerts(), 0);
});

test("Server.ThatRestartsInMidFilmIsWaitedForUnderTheSameStream", async () => {
  await watch();
  mock.down = true;
  await page.keyboard.press("8");
  await page.getByText("Kinora does not answer. The film goes on when it is back.").waitFor();
  mock.down = false;
  await playsPast(page, 160);
  assert.equal(opened(), 1);
  await page.locator(".waiting").waitFor({ state: "hidden" });
  assert.equal(await page.locator(".waiting-words").textContent(), "");
});

test("Server.WithoutAFreeEncoderIsAskedAgainWithAWord", async () => {
  let busy = true;
  mock.fail = (call) => (busy && call.get("fragment") ? 503 : 0);
  await page.goto("/#/film/1");
  await page.getByText("The server is converting as many films as it can.").waitFor();
  busy = false;
  await playsPast(page, 0.5);
  assert.equal(opened(), 1);
  assert.equal(await page.locator(".waiting-words").textContent(), "");
});

test("Server.WithoutSpaceSaysThatAndGoesOnWhenThereIsSome", async () => {
  let full = true;
  mock.fail = (call) => (full && call.get("fragment") ? 503 : 0);
  mock.failure = { error: { code: 1203, message: "No space is left for the stream" } };
  await page.goto("/#/film/1");
  await page.getByText("The server’s disk is full.").waitFor();
  full = false;
  await playsPast(page, 0.5);
});

test("Server.ThatCannotMakeChunksIsLeftForTheWayThatPlays", async () => {
  mock.auto = () => "raw";
  mock.fail = (call) => (call.get("format") === "ss" && call.get("fragment") ? 500 : 0);
  await watch();
  await openMenu("Quality");
  await item("Smooth Streaming").click();
  await page.getByText("The server can’t send the film as “Converted, in chunks”").waitFor({ timeout: kLong });
  await playsPast(page, 0.3);
  assert.equal(mock.asks("open").at(-1).get("format"), "auto");
});

test("PlayAs.IsChosenAtTheSamePosition", async () => {
  mock.auto = () => "raw";
  await watch();
  await page.keyboard.press("5");
  const { duration } = await videoState(page);
  await playsPast(page, duration / 2);
  await openMenu("Quality");
  await item("Smooth Streaming").click();
  await until(() => chunks().length > 0);
  await playsPast(page, duration / 2);
  assert.equal(mock.asks("open")[1].get("format"), "ss");
  assert.equal(mock.asks("open")[1].get("profile"), null);
  await until(() => mock.streams.size === 1);
});

test("Smooth.SubtitlesKeepStepWithTheFilm", async () => {
  await keepsStepOnceChosen(page, mock, watch, kSeconds);
});
