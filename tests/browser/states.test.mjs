// States of the page that are hard to bring about with a real server, against the stand-in.
import assert from "node:assert/strict";
import path from "node:path";
import { after, afterEach, before, beforeEach, test } from "node:test";
import { film, kIdle, kPassword, kUser, startMock } from "./mock/server.mjs";
import { kPhone, launch, newPage, playsPast, signIn, videoState } from "./support/browser.mjs";

const kPage = path.join(process.env.KINORA_PREFIX, "share/web");
const kMedia = path.join(process.env.KINORA_MEDIA, "h264_aac.mp4"); // 20 s

let browser;
let mock;
let page;

before(async () => (browser = await launch()));
after(() => browser.close());
beforeEach(async () => {
  mock = await startMock({ page: kPage, media: kMedia, films: [1, 2, 3].map((id) => film(id, { duration: 20 })) });
  page = await newPage(browser, mock.origin);
});
afterEach(async () => {
  assert.deepEqual(page.complaints, []);
  assert.deepEqual(page.foreign, []);
  await page.context().close();
  await mock.close();
});

const enter = () => signIn(page, kUser, kPassword);
const text = (words) => page.getByText(words);

async function openFilm(id) {
  await page.goto(`/#/film/${id}`);
}

test("Page.SaysThatTheServerIsGoneAndComesBackOnTryAgain", async () => {
  mock.down = true;
  await page.goto("/");
  await text("Kinora does not answer").waitFor();
  mock.down = false;
  await page.getByRole("button", { name: "Try again" }).click();
  await page.getByLabel("Password").waitFor();
});

test("SignIn.SaysWhenThePasswordIsWrongAndWhenThereWereTooManyAttempts", async () => {
  await page.goto("/");
  await page.getByLabel("Name").fill(kUser);
  await page.getByLabel("Password").fill("wrong");
  await page.keyboard.press("Enter");
  await text("Name or password is wrong.").waitFor();
  await page.getByLabel("Password").fill("again");
  await page.keyboard.press("Enter");
  await text("Too many attempts.").waitFor();
});

test("Session.EndsInTheMiddleAndLeadsBackToTheSameFilm", async () => {
  await enter();
  mock.endSessions();
  await openFilm(2);
  await text("Your session has ended.").waitFor();
  await page.getByLabel("Name").fill(kUser);
  await page.getByLabel("Password").fill(kPassword);
  await page.keyboard.press("Enter");
  await playsOnAsked(2);
});

async function playsOnAsked(id) {
  await page.waitForFunction(() => document.querySelector("video")?.readyState >= 2);
  assert.equal(page.url(), `${mock.origin}/#/film/${id}`);
}

test("Library.TellsAnAdministratorWhatToDoWhenItIsEmpty", async () => {
  mock.films = [];
  await enter();
  await text("No films yet").waitFor();
  await text("kinora share add").waitFor();
  await page.getByRole("button", { name: "Look for new films" }).click();
  await page.getByRole("region", { name: "Scan of the folders" }).waitFor();
  assert.equal(mock.asks("rescan").length, 1);
});

test("Library.OffersAViewerNothingThatOnlyAnAdministratorMayDo", async () => {
  mock.films = [];
  mock.administrator = false;
  await enter();
  await text("There is nothing to watch yet.").waitFor();
  assert.equal(await page.getByRole("button", { name: "Look for new films" }).count(), 0);
});

test("Library.ShowsFilmsThatAScanFindsWithoutAReload", async () => {
  await enter();
  await page.locator("a.card").nth(2).waitFor();
  mock.progress = { ...kIdle, running: true, found: 9, to_look_at: 6, looked_at: 2, current: "new <b>film</b>.mp4" };
  await page.evaluate(() => document.dispatchEvent(new Event("visibilitychange")));
  await text("Looking at 6 new or changed files: 2 done").waitFor();
  await text("new <b>film</b>.mp4").waitFor();
  mock.films = [...mock.films, film(9, { title: "Another one" })];
  mock.progress = { ...mock.progress, looked_at: 3, added: 1 };
  await page.locator("a.card", { hasText: "Another one" }).waitFor();
  mock.progress = { ...mock.progress, running: false };
  await text("1 film added").waitFor();
  await page.getByRole("region", { name: "Scan of the folders" }).waitFor({ state: "hidden" });
});

test("Library.KeepsTheFocusWhileTheListChanges", async () => {
  await enter();
  const second = page.locator("a.card").nth(1);
  await second.focus();
  mock.films = [film(9, { title: "A new first one" }), ...mock.films.slice(1)];
  mock.progress = { ...kIdle, added: 1, removed: 1 };
  await page.evaluate(() => document.dispatchEvent(new Event("visibilitychange")));
  await page.locator("a.card", { hasText: "A new first one" }).waitFor();
  assert.equal(await page.evaluate(() => document.activeElement.dataset.film), "2");
  assert.equal(await page.locator("a.card").count(), 3);
});

test("Library.SaysWhenTheListCannotBeReadAndKeepsWhatItHas", async () => {
  await enter();
  await page.locator("a.card").first().waitFor();
  mock.down = true;
  await page.getByRole("searchbox").fill("film 2");
  await page.getByRole("alert").getByText("Kinora does not answer").waitFor();
  mock.down = false;
  await page.getByRole("button", { name: "Try again" }).click();
  await text("1 film for “film 2”").waitFor();
});

test("Library.HoldsTenThousandFilmsAndItsPlace", async () => {
  mock.films = Array.from({ length: 10_000 }, (_, index) => film(index + 1, { title: `Film ${String(index).padStart(5, "0")}` }));
  await enter();
  await text("10,000 films").waitFor();
  assert.ok((await page.locator("a.card").count()) <= 240, "only what is near the window is fetched");
  await page.waitForFunction(() => {
    scrollTo(0, document.documentElement.scrollHeight);
    return document.querySelectorAll("a.card").length >= 600;
  });
  const wanted = page.locator('a.card[data-film="550"]');
  await wanted.scrollIntoViewIfNeeded();
  await wanted.hover();
  const before = await wanted.boundingBox();
  await wanted.click();
  await page.locator("video").waitFor();
  await page.keyboard.press("Escape");
  await wanted.waitFor();
  await until(async () => Math.abs((await wanted.boundingBox()).y - before.y) < 2);
  assert.equal(await page.evaluate(() => document.activeElement.dataset.film), "550");
});

test("Library.LoadsMoreByButtonAndByScrolling", async () => {
  mock.films = Array.from({ length: 130 }, (_, index) => film(index + 1));
  await enter();
  const more = page.getByRole("button", { name: "Show more" });
  const cards = (count) => page.waitForFunction((wanted) => document.querySelectorAll("a.card").length === wanted, count);
  await cards(60);
  await more.focus();
  await page.keyboard.press("Enter");
  await page.waitForFunction(() => document.querySelectorAll("a.card").length >= 120);
  await page.evaluate(() => scrollTo(0, document.documentElement.scrollHeight));
  await cards(130);
  await more.waitFor({ state: "hidden" });
});

const kRefusals = [
  [100, "This film can’t be played"],
  [1200, "Converting is switched off"],
  [1202, "The server is converting something else"],
  [1206, "The server has too little memory"],
  [1208, "This film’s picture is too large to convert"],
  [1211, "This film can’t be played"],
  [1212, "The stream could not be started"],
  [1203, "The server’s disk is full"],
  [1101, "This film is not in the library any more"],
  [105, "You may not watch this film"],
];
test("Player.SaysWhyAFilmIsRefused", async () => {
  await enter();
  for (const [code, words] of kRefusals) {
    mock.refuse[2] = code;
    await openFilm(2);
    await page.getByRole("alert").getByText(words).waitFor();
    await page.getByRole("button", { name: "Back to the films" }).last().click();
    await page.locator("a.card").first().waitFor();
  }
});

test("Player.TriesARefusedFilmAgain", async () => {
  await enter();
  mock.refuse[2] = 1206;
  await openFilm(2);
  await page.getByRole("alert").waitFor();
  delete mock.refuse[2];
  await page.getByRole("button", { name: "Try again" }).click();
  await playsPast(page, 0.2);
});

test("Player.AsksForThePinOfALockedFilm", async () => {
  await enter();
  mock.pins[2] = "4711";
  await openFilm(2);
  await text("Parental control is on for this film.").waitFor();
  await page.getByLabel("PIN").fill("0000");
  await page.keyboard.press("Enter");
  await text("That PIN was not right.").waitFor();
  await page.getByLabel("PIN").fill("4711");
  await page.getByRole("button", { name: "Watch" }).click();
  await playsPast(page, 0.2);
});

test("Player.LeavesALockedFilmLockedWhenNoPinIsGiven", async () => {
  await enter();
  mock.pins[2] = "4711";
  await openFilm(2);
  await page.getByRole("button", { name: "Cancel" }).click();
  await page.getByRole("alert").getByText("This film is locked").waitFor();
});

test("Player.TriesTwiceAndThenSaysThatTheStreamIsLost", async () => {
  await enter();
  await openFilm(2);
  await playsPast(page, 0.5);
  // Every stream is swept as soon as it is opened.
  mock.streams.set = () => mock.streams;
  mock.sweep();
  await breakOff();
  await page.getByRole("alert").waitFor();
  const opened = mock.asks("open").length;
  assert.ok(opened >= 2 && opened <= 4, `opened ${opened} times`);
});

// Chromium holds all of a short film in memory; another address makes it ask again.
function breakOff() {
  return page.evaluate(() => {
    const video = document.querySelector("video");
    video.src += "&again=1";
  });
}

test("Player.GoesOnWhenTheServerIsBackAfterARestart", async () => {
  await enter();
  await openFilm(2);
  await playsPast(page, 0.5);
  mock.sweep();
  mock.down = true;
  await breakOff();
  await page.locator(".spinner").waitFor();
  mock.down = false;
  await playsPast(page, 0.6);
  assert.equal(await page.getByRole("alert").count(), 0);
});

test("Player.ClosesItsStreamWhenTheFilmIsLeftAndWhenThePageIs", async () => {
  await enter();
  await page.locator("a.card").first().click();
  await playsPast(page, 0.2);
  assert.equal(mock.streams.size, 1);
  await page.keyboard.press("Escape");
  await page.waitForFunction(() => !document.querySelector("video"));
  await until(() => mock.streams.size === 0);
  await openFilm(2);
  await playsPast(page, 0.2);
  await page.goto("about:blank");
  await until(() => mock.streams.size === 0);
});

async function until(condition) {
  const deadline = Date.now() + 30_000;
  while (!(await condition())) {
    assert.ok(Date.now() < deadline, "in time");
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

test("Player.NamesTheFilmWhenItsAddressWasOpenedDirectly", async () => {
  await enter();
  await openFilm(3);
  await page.reload();
  await page.getByRole("heading", { name: "Film 3" }).waitFor();
  assert.equal(await page.title(), "Film 3 – Kinora");
});

test("Player.WaitsForAClickWhereTheBrowserForbidsToStartByItself", async () => {
  await enter();
  const fresh = await page.context().newPage();
  // Whatever Playwright asks a page counts as a click there. So the page itself has to say when it waits.
  await fresh.addInitScript(() => {
    const look = () => document.querySelector(".big-play:not([hidden])") && console.log("waits for a click");
    new MutationObserver(look).observe(document, { subtree: true, attributes: true });
  });
  const waits = fresh.waitForEvent("console", (message) => message.text() === "waits for a click");
  await fresh.goto(`${mock.origin}/#/film/2`);
  await waits;
  await fresh.locator(".big-play").click();
  await playsPast(fresh, 0.2);
  await fresh.close();
});

test("Player.ShowsMovingBarsWhereAFilmHasOnlySound", async () => {
  mock.films[1] = film(2, { duration: 5, video_codec: "", width: 0, height: 0 });
  mock.files[2] = path.join(process.env.KINORA_MEDIA, "audio_only.m4a");
  await enter();
  await openFilm(2);
  const bars = page.locator(".sound-picture");
  await bars.waitFor();
  await page.waitForFunction(() => document.querySelector("video").currentTime > 0.2);
  await page.locator(".sound-picture.runs").waitFor();
  assert.equal(await bars.locator("img").isVisible(), false);
  await page.keyboard.press("k");
  await page.locator(".sound-picture:not(.runs)").waitFor();
  await openFilm(3);
  await playsPast(page, 0.2);
  assert.equal(await bars.isVisible(), false);
});

async function enterOnATelephone() {
  await page.context().close();
  page = await newPage(browser, mock.origin, { viewport: kPhone, hasTouch: true, isMobile: true });
  await enter();
  await page.locator("a.card").first().waitFor();
}

// What can be touched and is lower or narrower than a fingertip.
function tooSmall() {
  return page.evaluate(() => {
    const touched = [...document.querySelectorAll("a, button, summary, select, input")].filter((element) => element.checkVisibility());
    const small = touched.filter((element) => {
      const { width, height } = element.getBoundingClientRect();
      return width < 43.9 || height < 43.9;
    });
    return small.map((element) => element.outerHTML);
  });
}

test("Page.HasRoomForFingersOnATelephone", async () => {
  await enterOnATelephone();
  await page.locator("summary").tap();
  await page.locator(".menu-who").tap(); // nothing lies over the menu
  assert.deepEqual(await tooSmall(), []);
  await openFilm(2);
  await playsPast(page, 0.2);
  await page.keyboard.press("k");
  await page.keyboard.press("q");
  await page.getByRole("menu").waitFor();
  assert.deepEqual(await tooSmall(), []);
  const { x, width } = await page.getByRole("menu").boundingBox();
  assert.deepEqual([x, width], [0, kPhone.width]);
});

test("Player.WorksOnATelephoneWithoutSidewaysScrolling", async () => {
  mock.films = [film(1, { title: "Averylongtitlewithoutanyspace".repeat(6), folder: "deep/".repeat(30) })];
  await enterOnATelephone();
  const fits = () => page.evaluate(() => document.documentElement.scrollWidth <= innerWidth);
  assert.ok(await fits(), "library");
  await page.locator("a.card").first().tap();
  await playsPast(page, 0.2);
  assert.ok(await fits(), "player");
  await page.waitForFunction(() => document.querySelector(".player.idle"));
  await page.touchscreen.tap(180, 370);
  await page.waitForFunction(() => !document.querySelector(".player.idle"));
  assert.equal((await videoState(page)).paused, false);
  await page.getByRole("button", { name: "Back to the films" }).tap();
  await page.locator("a.card").first().waitFor();
});
