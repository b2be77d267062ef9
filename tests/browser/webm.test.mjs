// Films that come live as WebM, in every state that a server can bring a player into, against the stand-in; and the
// choice of a way for a film to be sent.
import assert from "node:assert/strict";
import { mkdtempSync } from "node:fs";
import { tmpdir } from "node:os";
import path from "node:path";
import { after, afterEach, before, beforeEach, test } from "node:test";
import { film, kPassword, kUser, startMock } from "./mock/server.mjs";
import { kSeconds, makeWebm } from "./mock/webm_media.mjs";
import { kPhone, launch, newPage, playsPast, signIn, until, videoState } from "./support/browser.mjs";
import { keepsStepOnceChosen } from "./support/subtitles.mjs";

const kPage = path.join(process.env.KINORA_PREFIX, "share/web");
const media = (name) => path.join(process.env.KINORA_MEDIA, name);
const kLong = 120_000; // for what waits for attempts with pauses between them

let browser;
let webm;
let mock;
let page;

before(async () => {
  webm = makeWebm(mkdtempSync(path.join(tmpdir(), "webm-")));
  browser = await launch();
});
after(() => browser?.close());
beforeEach(async () => {
  const films = [1, 2].map((id) => film(id, { duration: kSeconds }));
  films.push(film(3, { duration: kSeconds, container: "webm", video_codec: "vp8", audio_codec: "opus" }));
  mock = await startMock({ page: kPage, media: media("h264_aac.mp4"), films, webm });
  mock.auto = () => "webm_remux";
  mock.files[3] = webm;
  page = await newPage(browser, mock.origin);
  await signIn(page, kUser, kPassword);
});
afterEach(async () => {
  assert.deepEqual(page.complaints, []);
  assert.deepEqual(page.foreign, []);
  await page.context().close();
  await until(() => mock.live.size === 0);
  await mock.close();
});

async function watch(id = 1) {
  await page.goto(`/#/film/${id}`);
  await playsPast(page, 0.3);
}

// From which seconds it was asked for, in order.
const seeks = () => mock.asks("stream").flatMap((call) => (call.has("seek") ? [Number(call.get("seek"))] : []));
const formats = () => mock.asks("open").map((call) => call.get("format"));
const opened = () => mock.asks("open").length;
const alerts = () => page.getByRole("alert").count();

const openMenu = (name) => page.getByRole("button", { name, exact: true }).click();
const item = (name) => page.getByRole("menuitemradio", { name });
const isChecked = async (name) => (await item(name).getAttribute("aria-checked")) === "true";

const stands = (second) => page.waitForFunction((wanted) => {
  const video = document.querySelector("video");
  return video.paused && video.readyState >= 2 && !video.seeking && Math.abs(video.currentTime - wanted) < 1;
}, second);

test("Webm.PlaysAndSeeksAnywhere", async () => {
  await watch();
  assert.match(await page.locator(".clock").textContent(), / \/ 3:20$/);
  assert.equal((await videoState(page)).width, 192);
  for (const [key, second] of [["9", 180], ["5", 100], ["1", 20]]) {
    await page.keyboard.press(key);
    await playsPast(page, second);
    assert.ok((await videoState(page)).at < second + 15);
  }
  assert.deepEqual(seeks(), [0, 180, 100, 20]);
  assert.equal(opened(), 1);
  assert.equal(await alerts(), 0);
  await until(() => mock.live.size <= 1);
});

test("Webm.IsSoughtByTheTimeLine", async () => {
  await watch();
  const line = await page.getByLabel("Position in the film").boundingBox();
  await page.mouse.click(line.x + line.width / 2, line.y + line.height / 2);
  await playsPast(page, kSeconds / 2 - 2);
  assert.match(await page.getByLabel("Position in the film").getAttribute("aria-valuetext"), /of 3 minutes 20 seconds$/);
});

test("Webm.GoesBackInsideWhatIsLoadedWithoutARequest", async () => {
  await watch();
  await playsPast(page, 6);
  await page.keyboard.press("k");
  await page.waitForFunction(() => document.querySelector("video").paused);
  const { at } = await videoState(page);
  await page.keyboard.press("ArrowLeft");
  await stands(at - 5);
  assert.deepEqual(seeks(), [0]);
});

test("Webm.BeginsWhereTheFilmWasLeft", async () => {
  await watch();
  await page.keyboard.press("8");
  await playsPast(page, 160);
  await page.keyboard.press("Escape");
  await page.locator("a.card").first().waitFor();
  mock.asked.length = 0;
  await page.locator('a.card[data-film="1"]').click();
  await playsPast(page, 160);
  assert.equal(seeks().length, 1);
  assert.ok(seeks()[0] >= 160, `from ${seeks()}`);
});

test("Webm.StaysPausedWhereItIsSought", async () => {
  await watch();
  await page.keyboard.press("k");
  await page.keyboard.press("5");
  await page.getByRole("button", { name: "Play", exact: true }).waitFor();
  await stands(100);
  await page.keyboard.press("k");
  await playsPast(page, 100);
});

test("Webm.IsAskedForOnceWhenAKeyIsHeldDown", async () => {
  await watch();
  await page.keyboard.press("k");
  await page.evaluate(() => {
    for (let i = 0; i < 8; i += 1) document.body.dispatchEvent(new KeyboardEvent("keydown", { key: "l", bubbles: true }));
  });
  await until(() => seeks().length > 1);
  const [, from] = seeks();
  assert.ok(from >= 80, `from ${from}`);
  await stands(from);
  assert.equal(seeks().length, 2);
});

test("Webm.IsLetGoWhenTheFilmIsLeftAndWhenThePageIs", async () => {
  await watch();
  assert.equal(mock.streams.size, 1);
  await page.keyboard.press("Escape");
  await until(() => mock.streams.size === 0 && mock.live.size === 0);
  await watch(2);
  await page.goto("about:blank");
  await until(() => mock.streams.size === 0 && mock.live.size === 0);
});

test("Webm.EndsAndBeginsAnew", async () => {
  await watch();
  await page.keyboard.press("End");
  await page.waitForFunction(() => document.querySelector("video").ended, undefined, { timeout: kLong });
  await page.locator(".big-play").waitFor();
  await page.locator(".big-play").click();
  await playsPast(page, 0.3);
  assert.equal(seeks().at(-1), 0);
  assert.ok((await videoState(page)).at < 100);
  assert.equal(opened(), 1);
});

test("Webm.ThatEndsTooSoonIsAskedForFromThere", async () => {
  await watch();
  mock.finish();
  await until(() => seeks().length > 1);
  const [, from] = seeks();
  assert.ok(from > 0);
  await playsPast(page, from + 1);
  assert.equal(opened(), 1);
  assert.equal(await page.locator(".big-play").isVisible(), false);
});

test("Webm.GoesOnWhereItsLineBroke", async () => {
  await watch();
  mock.cut();
  await until(() => seeks().some((second) => second > 0));
  await playsPast(page, seeks().find((second) => second > 0) + 1);
  assert.equal(await alerts(), 0);
});

test("Server.ThatRestartsInMidFilmIsWaitedForWithAWord", async () => {
  await watch();
  await page.keyboard.press("5");
  await playsPast(page, 100);
  mock.down = true;
  mock.cut();
  await page.getByText("Kinora does not answer. The film goes on when it is back.").waitFor({ timeout: kLong });
  mock.down = false;
  await until(async () => (await page.locator(".waiting-words").textContent()) === "");
  await playsPast(page, seeks().at(-1) + 1);
  assert.equal(await alerts(), 0);
});

test("Server.WithoutAFreeEncoderIsAskedAgainWithAWord", async () => {
  let busy = true;
  mock.fail = () => (busy ? 503 : 0);
  await page.goto("/#/film/1");
  await page.getByText("The server is converting as many films as it can.").waitFor();
  busy = false;
  await playsPast(page, 0.5);
  assert.equal(await page.locator(".waiting-words").textContent(), "");
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

test("Sound.IsChosenByOpeningTheFilmAnew", async () => {
  mock.sounds[1] = [{ id: "0", title: "", language: "eng" }, { id: "1", title: "", language: "ger" }];
  await watch();
  await page.keyboard.press("5");
  await playsPast(page, 100);
  await openMenu("Sound");
  await item("German").click();
  await until(() => opened() === 2);
  await playsPast(page, 100);
  assert.deepEqual(mock.asks("open").map((call) => call.get("audio_track")), [null, "1"]);
  assert.ok(seeks().at(-1) >= 100);
});

// Before the page loads: no H.264 and no AAC.
async function withoutH264() {
  await page.addInitScript(() => {
    const lacks = (type) => /avc1|mp4a|mp4|mpegurl/.test(type);
    const { canPlayType } = HTMLMediaElement.prototype;
    HTMLMediaElement.prototype.canPlayType = function (type) { return lacks(type) ? "" : canPlayType.call(this, type); };
    const { isTypeSupported } = MediaSource;
    MediaSource.isTypeSupported = (type) => !lacks(type) && isTypeSupported.call(MediaSource, type);
  });
  await page.reload();
  await page.getByRole("search").waitFor();
}

test("Automatic.IsWebmWhereTheBrowserLacksH264", async () => {
  mock.auto = () => "raw";
  await withoutH264();
  await watch(1);
  await openMenu("Quality");
  assert.equal(await isChecked("Automatic now WebM"), true);
  assert.equal(await item("Smooth Streaming").count(), 0);
  await item("Low").click();
  await until(() => opened() === 2);
  await playsPast(page, 0.3);
  assert.deepEqual(formats(), ["webm_remux", "webm_remux"]);
  assert.equal(mock.asks("open")[1].get("profile"), "low");
});

test("Automatic.IsTheFileWhereTheBrowserPlaysIt", async () => {
  mock.auto = () => "raw";
  await withoutH264();
  await watch(3);
  assert.deepEqual(formats(), ["auto"]);
});

test("Automatic.ConvertsAFileThatTheBrowserSaysItCannotPlay", async () => {
  mock.auto = () => "raw";
  await page.addInitScript(() => {
    const { canPlayType } = HTMLMediaElement.prototype;
    HTMLMediaElement.prototype.canPlayType = function (type) { return /vp8, opus/.test(type) ? canPlayType.call(this, type) : ""; };
  });
  await page.addInitScript(() => Object.assign(MediaSource, { isTypeSupported: () => false }));
  await page.reload();
  await page.getByRole("search").waitFor();
  await watch(1);
  assert.deepEqual(formats(), ["webm_remux"]);
  assert.ok(!mock.asks("stream").some((call) => call.get("format") === "raw"));
});

test("PlayAs.IsChosenAtTheSamePositionForThisFilmAlone", async () => {
  mock.auto = () => "raw";
  mock.files[1] = webm;
  await watch(1);
  await page.keyboard.press("5");
  await playsPast(page, 100);
  await openMenu("Quality");
  assert.equal(await isChecked("Automatic now direct"), true);
  await page.getByRole("group", { name: "Play as" }).waitFor();
  await item("WebM").click();
  await until(() => seeks().length > 0);
  await playsPast(page, 100);
  assert.ok(seeks()[0] >= 100);
  await openMenu("Quality");
  assert.equal(await isChecked("WebM"), true);
  await item("Low").click();
  await until(() => opened() === 3);
  await playsPast(page, 100);
  assert.equal(mock.asks("open")[2].get("profile"), "low");
  await openMenu("Quality");
  await item("Original").click();
  await until(() => opened() === 4);
  await playsPast(page, 100);
  await openMenu("Quality");
  await item("The file as it is").click();
  await until(() => opened() === 5);
  await playsPast(page, 100);
  await watch(2);
  assert.deepEqual(formats(), ["auto", "webm_remux", "webm_remux", "webm_remux", "raw", "auto"]);
});

test("PlayAs.ThatTheServerRefusesLeavesTheFilmAsItWas", async () => {
  mock.refuseFormat.ss = [1212, "failed to determine profile"];
  await watch();
  await page.keyboard.press("5");
  await playsPast(page, 100);
  await openMenu("Quality");
  await item("Smooth Streaming").click();
  await page.getByText("“failed to determine profile” (code 1212)").waitFor();
  await playsPast(page, 100);
  await openMenu("Quality");
  assert.equal(await isChecked("Automatic now WebM"), true);
  assert.deepEqual(formats(), ["auto", "ss", "auto"]);
  assert.equal(await alerts(), 0);
});

test("PlayAs.ThatTheBrowserCannotPlayLeavesTheFilmAsItWas", async () => {
  mock.files[1] = media("mpeg2_mp2.mpg");
  await watch();
  await openMenu("Quality");
  await item("The file as it is").click();
  await page.getByText("This browser can’t play the film as “The file as it is”").waitFor();
  await playsPast(page, 0.3);
  assert.deepEqual(formats(), ["auto", "raw", "auto"]);
  assert.equal(await alerts(), 0);
});

test("PlayAs.IsChosenOnATelephone", async () => {
  await page.context().close();
  page = await newPage(browser, mock.origin, { viewport: kPhone, hasTouch: true, isMobile: true });
  mock.auto = () => "raw";
  await signIn(page, kUser, kPassword);
  await page.locator('a.card[data-film="1"]').tap();
  await playsPast(page, 0.2);
  if (await page.locator(".player.idle").count()) await page.touchscreen.tap(180, 300);
  await page.getByRole("button", { name: "Quality", exact: true }).tap();
  const box = await page.getByRole("menu").boundingBox();
  assert.ok(box.y >= 0 && box.x >= 0 && box.x + box.width <= kPhone.width && box.y + box.height <= kPhone.height);
  assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
  await item("WebM").tap();
  await until(() => seeks().length > 0);
  await playsPast(page, 0.3);
});

test("Webm.SubtitlesKeepStepWithTheFilm", async () => {
  await keepsStepOnceChosen(page, mock, watch, kSeconds);
});
