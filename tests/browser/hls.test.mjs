// Films that come in fragments, in every state that a server can bring a player into, against the stand-in.
import assert from "node:assert/strict";
import { mkdtempSync } from "node:fs";
import { tmpdir } from "node:os";
import path from "node:path";
import { after, afterEach, before, beforeEach, test } from "node:test";
import { kFragment, kSeconds, makeHls } from "./mock/hls_media.mjs";
import { film, kPassword, kUser, startMock } from "./mock/server.mjs";
import { kPhone, launch, newPage, playsPast, signIn, videoState } from "./support/browser.mjs";
import { keepsStepOnceChosen } from "./support/subtitles.mjs";

const kPage = path.join(process.env.KINORA_PREFIX, "share/web");
const media = (name) => path.join(process.env.KINORA_MEDIA, name);
const kLong = 60_000; // for what waits for attempts with pauses between them

let browser;
let hls;
let mock;
let page;

before(async () => {
  hls = makeHls(mkdtempSync(path.join(tmpdir(), "hls-")));
  browser = await launch();
});
after(() => browser?.close());
beforeEach(async () => {
  const films = [1, 2].map((id) => film(id, { duration: kSeconds }));
  mock = await startMock({ page: kPage, media: media("h264_aac.mp4"), films, hls });
  mock.auto = () => "hls";
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

// Which fragments of a playlist were asked for, by their numbers, in order.
function fragments(name = "video") {
  const pattern = new RegExp(`^${name}_([0-9]+)\\.ts$`);
  return mock.asks("stream").flatMap((call) => {
    const found = pattern.exec(call.get("fragment") ?? "");
    return found ? [Number(found[1])] : [];
  });
}

const alerts = () => page.getByRole("alert").count();
const opened = () => mock.asks("open").length;

async function until(condition) {
  const deadline = Date.now() + 30_000;
  while (!(await condition())) {
    assert.ok(Date.now() < deadline, "in time");
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

const openMenu = (name) => page.getByRole("button", { name, exact: true }).click();
const item = (name) => page.getByRole("menuitemradio", { name });

test("Hls.PlaysAndSeeksAnywhere", async () => {
  await watch();
  const { duration, width, error } = await videoState(page);
  assert.ok(Math.abs(duration - kSeconds) < 1, `${duration} s`);
  assert.equal(width, 320);
  assert.equal(error, 0);
  for (const [key, second] of [["9", 180], ["5", 100], ["1", 20]]) {
    await page.keyboard.press(key);
    await playsPast(page, second);
    assert.ok((await videoState(page)).at < second + 15);
  }
  assert.equal(opened(), 1);
  assert.equal(await alerts(), 0);
});

test("Hls.BeginsWhereTheFilmWasLeftWithoutAFragmentFromElsewhere", async () => {
  await watch();
  await page.keyboard.press("8");
  await playsPast(page, 160);
  await page.keyboard.press("Escape");
  await page.locator("a.card").first().waitFor();
  mock.asked.length = 0;
  await page.locator('a.card[data-film="1"]').click();
  await playsPast(page, 160);
  const first = fragments()[0];
  assert.ok(Math.abs(first - 160 / kFragment) <= 1, `fragment ${first}`);
  assert.ok(!fragments().some((number) => number < first), `fragments ${fragments()}`);
});

test("Hls.LoadsAMinuteAheadAndNotTheWholeFilm", async () => {
  await watch();
  const loaded = () => page.evaluate(() => document.querySelector("video").buffered.end(0));
  await until(async () => (await loaded()) >= 55);
  const last = Math.max(...fragments());
  const { at } = await videoState(page);
  // The one that goes beyond the minute, and one that was on its way when this was looked at.
  assert.ok(last * kFragment <= at + 60 + 2 * kFragment, `fragments ${fragments()} at ${at}`);
});

test("Hls.FetchesItsProgramOnlyForFilmsThatNeedIt", async () => {
  const scripts = [];
  page.on("request", (request) => request.url().endsWith(".js") && scripts.push(request.url()));
  mock.auto = (id) => (id === 1 ? "raw" : "hls");
  await watch(1);
  assert.deepEqual(scripts.filter((url) => url.includes("hls")), []);
  await page.keyboard.press("Escape");
  await watch(2);
  assert.equal(scripts.filter((url) => url.includes("hls_source")).length, 1);
});

test("Hls.ClosesItsStreamWhenTheFilmIsLeftAndWhenThePageIs", async () => {
  await watch();
  assert.equal(mock.streams.size, 1);
  await page.keyboard.press("Escape");
  await until(() => mock.streams.size === 0);
  await watch(2);
  await page.goto("about:blank");
  await until(() => mock.streams.size === 0);
});

test("Sound.IsChosenByTheKeyboard", async () => {
  mock.kinds.hls = "tracks";
  await watch();
  await page.keyboard.press("a");
  await item("English Original").waitFor();
  assert.equal(await item("English Original").getAttribute("aria-checked"), "true");
  assert.deepEqual(fragments("audio_1"), []);
  await page.keyboard.press("ArrowDown");
  assert.equal((await videoState(page)).volume, 1);
  await page.keyboard.press("Enter");
  await page.getByRole("menu").waitFor({ state: "hidden" });
  await until(() => fragments("audio_1").length > 0);
  const { at } = await videoState(page);
  await playsPast(page, at + 0.5);
  await page.keyboard.press("a");
  assert.equal(await item("German Kommentar").getAttribute("aria-checked"), "true");
  await page.keyboard.press("Escape");
  await page.getByRole("menu").waitFor({ state: "hidden" });
  assert.match(page.url(), /film/);
  assert.equal(opened(), 1);
  await page.keyboard.press(" "); // the keys are the film's again
  await page.waitForFunction(() => document.querySelector("video").paused);
  assert.equal(await page.getByRole("menu").count(), 0);
});

test("Sound.IsNotOfferedWhereThereIsNoChoice", async () => {
  await watch();
  assert.equal(await page.getByRole("button", { name: "Sound", exact: true }).isVisible(), false);
});

test("Sound.StaysChosenWhenTheStreamIsOpenedAgain", async () => {
  mock.kinds.hls = "tracks";
  await watch();
  await openMenu("Sound");
  await item("German").click();
  await until(() => fragments("audio_1").length > 0);
  mock.sweep();
  mock.asked.length = 0;
  await page.keyboard.press("9");
  await playsPast(page, 180);
  assert.equal(opened(), 1);
  assert.ok(fragments("audio_1").length > 0);
  assert.deepEqual(fragments("audio_0"), []);
});

test("Sound.OfAFilmThatIsSentAsItIsIsChosenByOpeningItAnew", async () => {
  mock.auto = (_, call) => (call.get("audio_track") === "1" ? "hls_remux" : "raw");
  mock.kinds.hls_remux = "tracks";
  mock.sounds[1] = [{ id: "0", title: "Original", language: "eng" }, { id: "1", title: "Kommentar", language: "ger" }];
  await watch();
  await page.keyboard.press("5");
  const { duration } = await videoState(page);
  await playsPast(page, duration / 2);
  await openMenu("Sound");
  assert.equal(await item("English Original").getAttribute("aria-checked"), "true");
  await item("German Kommentar").click();
  await until(() => fragments("audio_1").length > 0);
  await playsPast(page, duration / 2);
  assert.ok((await videoState(page)).at < duration / 2 + 20);
  assert.deepEqual(mock.asks("open").map((call) => call.get("audio_track")), [null, "1"]);
  assert.deepEqual(fragments("audio_0"), []);
  await openMenu("Sound");
  assert.equal(await item("German Kommentar").getAttribute("aria-checked"), "true");
  await until(() => mock.streams.size === 1);
});

test("Sound.ThatCannotBeHadLeavesTheFilmAsItIs", async () => {
  mock.auto = () => "raw";
  mock.sounds[1] = [{ id: "0", title: "", language: "eng" }, { id: "1", title: "", language: "ger" }];
  await watch();
  mock.refuseTrack[1] = 1200;
  await openMenu("Sound");
  await item("German").click();
  await page.getByText("This sound can’t be sent to your browser.").waitFor();
  await playsPast(page, 0.5);
  assert.deepEqual(mock.asks("open").map((call) => call.get("audio_track")), [null, "1", null]);
  await openMenu("Sound");
  assert.equal(await item("English").getAttribute("aria-checked"), "true");
});

test("Quality.IsOpenedAtTheSamePositionAndKeptForTheNextFilm", async () => {
  await watch();
  await page.keyboard.press("5");
  await playsPast(page, 100);
  await openMenu("Quality");
  await item("Original").getByText("converted for this browser").waitFor();
  await item("Low").click();
  await until(() => opened() === 2);
  const [, second] = mock.asks("open");
  assert.equal(second.get("format"), "hls");
  assert.equal(second.get("profile"), "low");
  await playsPast(page, 100);
  assert.ok((await videoState(page)).at < 110);
  await until(() => mock.streams.size === 1);
  await watch(2);
  assert.equal(mock.asks("open")[2].get("profile"), "low");
  await openMenu("Quality");
  await item("Original").click();
  await until(() => opened() === 4);
  assert.equal(mock.asks("open")[3].get("format"), "auto");
  assert.equal(mock.asks("open")[3].get("profile"), null);
});

test("Quality.ThatTheServerRefusesLeavesTheFilmAsItIs", async () => {
  mock.refuseConverting = 1200;
  mock.auto = () => "raw";
  await watch();
  await openMenu("Quality");
  await item("Standard").click();
  await page.getByText("The server does not offer this film in “Standard”.").waitFor();
  await playsPast(page, 0.5);
  await openMenu("Quality");
  assert.equal(await item("Original the file as it is").getAttribute("aria-checked"), "true");
  assert.equal(await alerts(), 0);
});

test("Convert.IsAskedForWhenTheBrowserCannotPlayTheFile", async () => {
  mock.auto = () => "raw";
  mock.files[1] = media("mpeg2_mp2.mpg");
  await page.goto("/#/film/1");
  await page.getByText("Kinora converts this film for your browser").waitFor();
  await playsPast(page, 0.5);
  assert.deepEqual(mock.asks("open").map((call) => call.get("format")), ["auto", "hls"]);
  await until(() => mock.streams.size === 1);
});

test("Convert.IsAskedForWhenTheBrowserCannotDecodeTheFragments", async () => {
  mock.auto = () => "hls_remux";
  mock.kinds.hls_remux = "foreign";
  await page.goto("/#/film/1");
  await page.getByText("Kinora converts this film for your browser").waitFor();
  await playsPast(page, 0.5);
  assert.deepEqual(mock.asks("open").map((call) => call.get("format")), ["auto", "hls"]);
});

test("Convert.TakesOverInMidFilmWhereAFragmentCannotBeCopied", async () => {
  mock.auto = () => "hls_remux";
  mock.fail = (call) => (call.get("format") === "hls_remux" && /_2[0-9]\.ts$/.test(call.get("fragment") ?? "") ? 500 : 0);
  await watch();
  await page.keyboard.press("5");
  await page.getByText("Kinora converts this film for your browser").waitFor({ timeout: kLong });
  await playsPast(page, 100);
  assert.ok((await videoState(page)).at < 110);
});

test("Convert.EndsWithAWordWhenEvenThatCannotBePlayed", async () => {
  mock.kinds.hls = "foreign";
  await page.goto("/#/film/1");
  await page.getByRole("alert").getByText("This browser can’t play the film").waitFor();
  assert.equal(opened(), 1);
});

test("Convert.SaysThatItIsSwitchedOff", async () => {
  mock.auto = () => "raw";
  mock.refuseConverting = 1200;
  mock.files[1] = media("mpeg2_mp2.mpg");
  await page.goto("/#/film/1");
  await page.getByRole("alert").getByText("Converting is switched off").waitFor();
  mock.refuseConverting = undefined;
  await page.getByRole("button", { name: "Try again" }).click();
  await playsPast(page, 0.2);
});

test("Swept.StreamIsOpenedAgainAtItsPosition", async () => {
  await watch();
  mock.sweep();
  await page.keyboard.press("8");
  await playsPast(page, 160);
  assert.ok((await videoState(page)).at < 170);
  assert.equal(opened(), 2);
  assert.equal(await alerts(), 0);
});

test("Swept.StreamOfAPausedFilmStaysPaused", async () => {
  await watch();
  await page.keyboard.press("k");
  mock.sweep();
  await page.keyboard.press("8");
  await until(() => opened() === 2);
  await page.waitForFunction(() => {
    const video = document.querySelector("video");
    return video.readyState >= 2 && !video.seeking && Math.abs(video.currentTime - 160) < 1;
  });
  assert.equal((await videoState(page)).paused, true);
  await page.keyboard.press("k");
  await playsPast(page, 160);
});

test("Swept.AgainAndAgainIsGivenUpInTheEnd", async () => {
  await watch();
  mock.streams.set = () => mock.streams;
  mock.sweep();
  await page.keyboard.press("8");
  await page.getByRole("alert").getByText("The film stopped").waitFor();
  assert.ok(opened() <= 4, `opened ${opened()} times`);
  delete mock.streams.set;
  await page.getByRole("button", { name: "Try again" }).click();
  await playsPast(page, 160);
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

test("Server.ThatIsDownIsNotNoticedWhileTheFilmIsLoaded", async () => {
  await watch();
  await until(() => fragments().length >= 5);
  mock.down = true;
  const { at } = await videoState(page);
  await playsPast(page, at + 3);
  assert.equal(await page.locator(".waiting").isVisible(), false);
  assert.equal(await alerts(), 0);
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
  assert.equal(opened(), 1);
  assert.equal(await page.locator(".waiting-words").textContent(), "");
});

test("Server.ThatCannotMakeFragmentsIsGivenUpWithAWord", async () => {
  mock.fail = (call) => (call.get("fragment") ? 500 : 0);
  await page.goto("/#/film/1");
  await page.getByRole("alert").getByText("The film does not begin").waitFor({ timeout: kLong });
});

test("Menus.WorkOnATelephone", async () => {
  await page.context().close();
  page = await newPage(browser, mock.origin, { viewport: kPhone, hasTouch: true, isMobile: true });
  mock.kinds.hls = "tracks";
  await signIn(page, kUser, kPassword);
  await page.locator("a.card").first().tap();
  await playsPast(page, 0.2);
  const wake = () => page.locator(".player.idle").count().then((idle) => (idle ? page.touchscreen.tap(180, 300) : undefined));
  await wake();
  await page.getByRole("button", { name: "Sound", exact: true }).tap();
  await item("German").waitFor();
  assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
  await page.touchscreen.tap(180, 200); // beside the list: closes it, and nothing else
  await page.getByRole("menu").waitFor({ state: "hidden" });
  assert.equal((await videoState(page)).paused, false);
  await page.getByRole("button", { name: "Sound", exact: true }).tap();
  await item("German").tap();
  await until(() => fragments("audio_1").length > 0);
  await page.getByRole("button", { name: "Quality", exact: true }).tap();
  await item("Low").tap();
  await until(() => opened() === 2);
});

test("Hls.SubtitlesKeepStepWithTheFilm", async () => {
  await keepsStepOnceChosen(page, mock, watch, kSeconds);
});
