// Subtitles in the page, in every state that a server can bring them into, against the stand-in.
import assert from "node:assert/strict";
import path from "node:path";
import { after, afterEach, before, beforeEach, test } from "node:test";
import { film, kNoLines, kPassword, kUser, startMock, webvtt } from "./mock/server.mjs";
import { kPhone, launch, newPage, playsPast, signIn } from "./support/browser.mjs";
import { keepsStep, kListed, oneEachSecond, subtitleIs } from "./support/subtitles.mjs";

const kPage = path.join(process.env.KINORA_PREFIX, "share/web");
const kMedia = path.join(process.env.KINORA_MEDIA, "h264_aac.mp4");
const kLength = 20; // of it, seconds

const kEnglish = kListed;
const kGerman = { ...kEnglish, id: "/v/Films/film.de.srt", lang: "de", file: "film.de.srt" };
const kStream = { id: 2, lang: "ger", title: "", format: "srt", embedded: true, need_preview: true };
const kPictures = { ...kStream, id: 3, format: "pgs", need_preview: false };

const always = (text) => webvtt([0, kLength, text]);

let browser;
let mock;
let page;

before(async () => (browser = await launch()));
after(() => browser?.close());
beforeEach(async () => {
  const films = [1, 2].map((id) => film(id, { duration: kLength }));
  mock = await startMock({ page: kPage, media: kMedia, films });
  mock.subtitles = { 1: [kEnglish, kGerman, kStream, kPictures], 2: [kGerman, kStream] };
  mock.lines = () => oneEachSecond(kLength);
  await show();
});
afterEach(async () => {
  await leave();
  await mock.close();
});

async function show(options) {
  page = await newPage(browser, mock.origin, options);
  await signIn(page, kUser, kPassword);
}

async function leave() {
  assert.deepEqual(page.complaints, []);
  assert.deepEqual(page.foreign, []);
  await page.context().close();
}

async function watch(id = 1) {
  await page.goto(`/#/film/${id}`);
  await playsPast(page, 0.2);
  await page.getByRole("button", { name: "Subtitles", exact: true }).waitFor({ state: "attached" });
}

// Stands still at the beginning, with the first subtitle on.
async function watchWithSubtitles(id = 1) {
  await watch(id);
  await page.keyboard.press("k");
  await page.keyboard.press("c");
}

const shows = (text) => subtitleIs(page, text);
const lines = () => page.locator(".subtitle-lines");
const button = () => page.getByRole("button", { name: "Subtitles", exact: true });
const item = (name) => page.getByRole("menuitemradio", { name, exact: true });
const entry = (name) => page.getByRole("menuitem", { name });
const focused = () => page.evaluate(() => document.activeElement.innerText);
const tells = (words) => page.getByText(words).waitFor();
const asked = () => mock.asks("get").filter((call) => call.get("api").endsWith("Subtitle"));
const keys = async (...names) => {
  for (const name of names) await page.keyboard.press(name);
};

test("Subtitles.KeepStepWithAFilmAsItIs", async () => {
  await watchWithSubtitles();
  await keepsStep(page, mock, kLength);
});

test("Subtitles.AreChosenByKeysAlone", async () => {
  mock.lines = (call) => always(call.get("subtitle_id") === kGerman.id ? "Deutsch" : "English");
  await watch();
  await page.keyboard.press("s");
  assert.equal(await focused(), "Off");
  await keys("ArrowDown", "Enter");
  await shows("English");
  await keys("s", "ArrowDown", " ");
  await shows("Deutsch");
  await keys("s", "End", "ArrowUp"); // the settings are behind the list
  assert.match(await focused(), /^Size/);
  await page.keyboard.press("Enter");
  assert.equal(await focused(), "Medium");
  await page.keyboard.press("Escape");
  assert.match(await focused(), /^Size/);
  await page.keyboard.press("Escape");
  assert.equal(await button().getAttribute("aria-expanded"), "false");
  await page.keyboard.press("c");
  await shows("");
  await tells("Subtitles off");
  await page.keyboard.press("c");
  await shows("Deutsch");
  await tells("Subtitles: German");
});

test("Subtitles.AreToldApartAndPicturesCannotBeChosen", async () => {
  const title = "<img src=x onerror=hacked()>";
  mock.subtitles[1] = [kEnglish, { ...kEnglish, id: "/v/Films/film.eng.srt", file: "film.eng.srt" },
    { ...kStream, forced: true }, { ...kStream, id: 5, lang: "", title, hearing_impaired: true }, { ...kPictures, lang: "fre" }];
  await watch();
  await button().click();
  assert.deepEqual(await page.getByRole("menu", { name: "Subtitles" }).getByRole("menuitemradio").allInnerTexts(), [
    "Off", "English\nfilm.en.srt", "English\nfilm.eng.srt", "German\nonly foreign parts",
    `${title}\nfor the hard of hearing`, "French\npictures, not available as text",
  ]);
  const pictures = item("French pictures, not available as text");
  assert.equal(await pictures.getAttribute("aria-disabled"), "true");
  await pictures.click({ force: true });
  assert.equal(await item("Off").getAttribute("aria-checked"), "true");
  assert.equal(await button().getAttribute("aria-expanded"), "true");
  assert.equal(asked().length, 0);
});

test("Subtitles.AreReadInAnotherCharsetAtOnceAndTheNextTime", async () => {
  const kRead = { auto: "Ã¼ber", BIG5: "羹ber", CP1252: "über" };
  mock.lines = (call) => always(kRead[call.get("codepage")]);
  await watchWithSubtitles();
  await shows("Ã¼ber");
  await button().click();
  await entry("Charset").click();
  await item("Chinese, traditional (Big5)").click();
  await shows("羹ber");
  assert.equal(await item("Chinese, traditional (Big5)").getAttribute("aria-checked"), "true");
  await keys("ArrowDown", "Enter");
  await shows("über");
  await page.reload();
  await shows("über");
  assert.deepEqual(asked().map((call) => call.get("codepage")), ["auto", "BIG5", "CP1252", "CP1252"]);
});

test("Subtitles.ComeLaterOrEarlierAndLargerAndStaySo", async () => {
  await watchWithSubtitles();
  await page.keyboard.press("5");
  await shows("second 10");
  await page.keyboard.press("h");
  await tells("Subtitles come 0.1 seconds later.");
  await page.keyboard.press("h");
  await shows("second 9");
  await keys("g", "g");
  await shows("second 10");
  await page.keyboard.press("s");
  await entry("Delay").click();
  await entry("0.5 seconds earlier").click();
  await entry("0.5 seconds earlier").click();
  await shows("second 11");
  await keys("Escape");
  const size = () => lines().evaluate((element) => parseFloat(getComputedStyle(element).fontSize));
  const medium = await size();
  await entry("Size").click();
  await item("Huge").click();
  assert.ok(Math.abs((await size()) / medium - 1.7) < 0.01);
  await page.reload();
  await page.waitForFunction(() => document.querySelector("video")?.readyState >= 2);
  await page.keyboard.press("5");
  await shows("second 11");
  assert.ok(Math.abs((await size()) / medium - 1.7) < 0.01);
});

test("Subtitles.NeverBecomeMarkup", async () => {
  const hostile = [
    '<script>hacked()</script><img src=x onerror="hacked()"><b onclick="hacked()">bold</b><svg onload=hacked()>',
    "&lt;img src=x onerror=hacked()&gt; &amp; <i>leaning<i> <u class=x>under",
    "<c.class><v Roger>voice</v><00:00:01.000><ruby>base<rt>text</rt></ruby><lang en>said</lang>",
    `${"<b>".repeat(300)}deep`,
    "endless ".repeat(100_000),
    "one<br/>two<br>\nthree",
  ];
  mock.lines = () => webvtt(...hostile.map((text, index) => [index / 100, kLength, text]), [0, kLength, "a --> b"]);
  await page.addInitScript(() => (window.hacked = () => (window.was_hacked = true)));
  await watchWithSubtitles();
  await lines().getByText("deep").waitFor();
  const seen = await lines().evaluate((element) => ({
    tags: [...new Set([...element.querySelectorAll("*")].map(({ tagName }) => tagName))].sort(),
    attributes: [...new Set([...element.querySelectorAll("*")].flatMap((one) => one.getAttributeNames()))],
    texts: [...element.children].map((line) => line.innerText),
  }));
  assert.deepEqual(seen.tags, ["B", "I", "P", "SPAN", "U"]);
  assert.deepEqual(seen.attributes, ["dir"]);
  const [endless] = seen.texts.splice(1, 1);
  assert.match(endless, /^(endless ){100,200}/);
  assert.deepEqual(seen.texts, [
    "one\ntwo\nthree", "deep", "voicebasetextsaid", "<img src=x onerror=hacked()> & leaning under", "hacked()bold",
  ]);
  assert.equal(await page.evaluate(() => window.was_hacked), undefined);
});

test("Subtitles.StandAboveTheControlsAndBelowEachOther", async () => {
  mock.lines = () => webvtt([0, kLength, "The first one, which is there already"], [1, kLength, "قالت: (لا)"]);
  await watchWithSubtitles();
  await page.keyboard.press("5");
  await lines().getByText("قالت").waitFor();
  const place = (selector) => page.locator(selector).evaluate((element) => element.getBoundingClientRect().toJSON());
  await page.waitForFunction(() => document.getAnimations().every(({ playState }) => playState === "finished"));
  const [later, first] = await Promise.all([place(".subtitle-lines p:first-child"), place(".subtitle-lines p:last-child")]);
  assert.ok(later.bottom <= first.top);
  assert.ok(first.bottom <= (await place(".seek")).top);
  assert.equal(await lines().getByText("قالت").evaluate((element) => getComputedStyle(element).direction), "rtl");
  // They come down with the controls' going, but never below the picture.
  await page.keyboard.press("k");
  await page.locator(".player.idle").waitFor();
  await page.waitForFunction((before) => document.querySelector(".subtitle-lines").getBoundingClientRect().bottom > before + 10, first.bottom);
  assert.ok((await place(".subtitle-lines")).bottom < (await place("video")).bottom);
  await page.keyboard.press("f");
  await page.waitForFunction(() => document.fullscreenElement?.contains(document.querySelector(".subtitle-lines p")));
});

test("Subtitles.ThatAreInsideTheFilmAreShownFromItsFirstMinutesUntilTheRestIsThere", async () => {
  let whole = false;
  let at_once = 0;
  mock.lines = (call) => {
    at_once += 1;
    if (call.get("preview")) return asked().length > 2 ? always("the first minutes") : kNoLines;
    return whole ? always("the whole") : kNoLines;
  };
  await watch();
  await button().click();
  await item("German track 3").click();
  await tells("Loading subtitles");
  await shows("the first minutes");
  await playsPast(page, 0.5);
  const before = asked().length;
  whole = true;
  await shows("the whole");
  assert.equal(asked()[0].get("preview"), "true");
  assert.ok(asked().length <= before + 3, `${at_once} questions`);
  assert.equal(asked().filter((call) => call.get("codepage")).length, 0);
  // It is there now, and not asked for again.
  const [loaded] = [asked().length];
  await playsPast(page, 2);
  assert.equal(asked().length, loaded);
});

test("Subtitles.ThatSayNothingAreNamedWithAWayOut", async () => {
  mock.lines = (call) => (call.get("codepage") === "BIG5" ? always("readable") : kNoLines);
  await watchWithSubtitles();
  await tells("This subtitle holds no text that can be read. Try another charset.");
  await page.locator(".notice").getByRole("button", { name: "Charset" }).click();
  await item("Chinese, traditional (Big5)").click();
  await shows("readable");
  mock.subtitles[2] = [{ ...kStream, lang: "fre", need_preview: false }];
  await watchWithSubtitles(2);
  await tells("This subtitle holds no text that can be read.");
});

test("Subtitles.SurviveFailures", async () => {
  mock.lines = () => 1101;
  await watchWithSubtitles();
  await tells("This subtitle is not there any more.");
  mock.lines = () => "no document";
  await keys("c", "c");
  await tells("The subtitle could not be read.");
  // The server comes back before patience ends.
  mock.lines = () => always("back again");
  await page.keyboard.press("c");
  mock.down = true;
  await page.keyboard.press("c");
  await tells("Loading subtitles");
  mock.down = false;
  await shows("back again");
  assert.equal(await page.getByRole("alert").count(), 0);
});

test("Subtitles.AreShownInTheViewersLanguageInTheNextFilmAndStayOffWhereTheyWereTurnedOff", async () => {
  mock.lines = (call) => always(call.get("subtitle_id"));
  await watch();
  await button().click();
  await item("German film.de.srt").click();
  await shows(kGerman.id);
  await watch(2);
  await shows(kGerman.id);
  await page.keyboard.press("c");
  await shows("");
  await watch(1);
  await shows(kGerman.id); // chosen here before
  await watch(2);
  assert.equal(await lines().innerText(), "");
});

test("Subtitles.OfALockedFilmComeWithItsPin", async () => {
  mock.pins[1] = "1234";
  await page.goto("/#/film/1");
  await page.getByLabel("PIN").fill("1234");
  await page.keyboard.press("Enter");
  await playsPast(page, 0.2);
  await button().click();
  await item("English").click();
  await page.keyboard.press("k");
  await page.keyboard.press("5");
  await shows("second 10");
});

test("Subtitles.OfForeignPartsComeByThemselvesInTheLanguageThatIsHeard", async () => {
  mock.lines = (call) => always(`track ${call.get("subtitle_id")}`);
  mock.sounds = { 1: [{ id: "1", title: "", language: "eng" }, { id: "2", title: "", language: "ger" }] };
  mock.subtitles[1] = [kEnglish, { ...kStream, need_preview: false }, { ...kStream, id: 7, lang: "eng", forced: true, need_preview: false }];
  await watch();
  await shows("track 7");
  await page.keyboard.press("c");
  await shows("");
});

test("Subtitles.InChineseFollowTheAccountsScript", async () => {
  mock.subtitles[1] = [{ ...kEnglish, lang: "zh" }];
  mock.lines = () => always(mock.traditional ? "後來" : "后来");
  await watchWithSubtitles();
  await shows("后来");
  await button().click();
  await page.getByRole("menuitemcheckbox", { name: "Traditional characters" }).click();
  await shows("後來");
  assert.equal(mock.traditional, true);
});

test("Subtitles.AreLeftToTheBrowserWhileTheFilmIsOutsideThePage", async () => {
  await watchWithSubtitles();
  await shows("second 0");
  await page.keyboard.press("h");
  const outside = (event) =>
    page.evaluate((name) => {
      const video = document.querySelector("video");
      video.dispatchEvent(new Event(name));
      const [{ mode, cues }] = video.textTracks;
      return { mode, count: cues?.length ?? 0, second: cues?.[1]?.startTime ?? 0, seen: document.querySelector(".subtitles").checkVisibility() };
    }, event);
  assert.deepEqual(await outside("enterpictureinpicture"), { mode: "showing", count: kLength, second: 1.06, seen: false });
  assert.deepEqual(await outside("leavepictureinpicture"), { mode: "disabled", count: 0, second: 0, seen: true });
  // One that the browser finds in the film itself.
  await page.evaluate(() => (document.querySelector("video").addTextTrack("captions", "found").mode = "showing"));
  await page.waitForFunction(() => document.querySelector("video").textTracks[1].mode === "disabled");
});

test("Subtitles.SuitATelephone", async () => {
  await leave();
  await show({ viewport: kPhone, hasTouch: true, isMobile: true });
  mock.lines = () => always("A line that is too long for a telephone that is held upright, and so is broken");
  await watchWithSubtitles();
  await lines().getByText("A line").waitFor();
  const box = await lines().locator("p").boundingBox();
  assert.ok(box.x >= 0 && box.x + box.width <= kPhone.width);
  await button().tap();
  await entry("Size").waitFor();
  const inside = await page.getByRole("menu", { name: "Subtitles" }).evaluate((menu) => {
    const { left, right, bottom } = menu.getBoundingClientRect();
    const lowest = Math.min(...[...menu.querySelectorAll("button")].map((one) => one.getBoundingClientRect().height));
    return { left, right, bottom, lowest, wide: menu.scrollWidth <= menu.clientWidth };
  });
  assert.deepEqual({ ...inside, lowest: inside.lowest >= 44 }, { left: 0, right: kPhone.width, bottom: kPhone.height, lowest: true, wide: true });
  await entry("Size").tap();
  await item("Large").tap();
  const [top, sheet] = [await lines().locator("p").boundingBox(), await page.getByRole("menu", { name: "Subtitles" }).boundingBox()];
  assert.ok(top.y + top.height <= sheet.y, "what is chosen can be seen");
});
