// Signing in and finding films, in Chromium with a real Kinora.
import assert from "node:assert/strict";
import { rmSync } from "node:fs";
import path from "node:path";
import { after, afterEach, before, beforeEach, test } from "node:test";
import { kPhone, launch, newPage, signIn } from "./support/browser.mjs";
import { kPassword, kUser, makeWelcome, put, retitle, startKinora } from "./support/kinora.mjs";

const media = (name) => path.join(process.env.KINORA_MEDIA, name);

// Names that are harmless as text and nothing else. "/" and NUL are all that a file name cannot hold.
const kHostile = [
  '<img src=x onerror="window.hit=1">',
  "<script>window.hit=2<\u2044script>",
  '"><svg onload=window.hit=3>',
  "javascript:window.hit=4",
  "{{constructor.constructor('window.hit=5')()}}",
  "&lt;b&gt;bold&lt;b&gt; &amp; %3Cb%3E",
  "line\nbreak\tand\u202Ereversed",
];

let browser;
let kinora;
let page;

before(async () => {
  browser = await launch();
  kinora = await startKinora((folder) => {
    put(media("h264_aac.mp4"), path.join(folder, "clock.mp4")); // its title: "A film with a clock"
    retitle(media("moov_last.mp4"), "", path.join(folder, "harbour.mp4"));
    put(media("hevc_10bit.mkv"), path.join(folder, "mountains.mkv"));
    // Without a title of their own: the file's name is the title.
    for (const name of kHostile) put(media("anamorphic.mp4"), path.join(folder, `${name}.mp4`));
  });
});
after(async () => {
  await browser?.close();
  await kinora?.stop();
});
beforeEach(async () => (page = await newPage(browser, kinora.origin)));
afterEach(async () => {
  assert.deepEqual(page.complaints, []);
  assert.deepEqual(page.foreign, []);
  await page.context().close();
});

const enter = () => signIn(page, kUser, kPassword);
const card = (title) => page.locator("a.card", { hasText: title });

test("SignIn.ByTheStartAddressLeavesNoSecretInTheAddress", async () => {
  const secret = makeWelcome();
  await page.goto(`/?welcome=${secret}`);
  await card("harbour").waitFor();
  assert.equal(page.url(), `${kinora.origin}/`);
  await page.reload();
  await card("harbour").waitFor();
  const other = await newPage(browser, kinora.origin);
  await other.goto(`/?welcome=${secret}`);
  await other.getByText("This start address has been used or is too old.").waitFor();
  assert.equal(other.url(), `${kinora.origin}/`);
  await other.context().close();
});

test("SignIn.ByTheFormAndOutAgain", async () => {
  await page.goto("/");
  await page.getByLabel("Name").fill(kUser);
  await page.getByLabel("Password").fill("not the password");
  await page.keyboard.press("Enter");
  await page.getByText("Name or password is wrong.").waitFor();
  await page.getByLabel("Password").fill(kPassword);
  await page.keyboard.press("Enter");
  await card("harbour").waitFor();
  const cookies = await page.context().cookies();
  assert.deepEqual(cookies.map(({ name, httpOnly, sameSite }) => ({ name, httpOnly, sameSite })), [
    { name: "kinora_session", httpOnly: true, sameSite: "Lax" },
  ]);
  await page.getByLabel(/Menu of/).click();
  await page.getByRole("button", { name: "Sign out" }).click();
  await page.getByLabel("Password").waitFor();
  await page.reload();
  await page.getByLabel("Password").waitFor();
});

test("Page.MayLoadNothingFromElsewhere", async () => {
  const answer = await page.goto("/");
  assert.match(answer.headers()["content-security-policy"], /default-src 'self'/);
  assert.equal(answer.headers()["x-content-type-options"], "nosniff");
});

test("Library.ShowsEveryFilmWithItsPicture", async () => {
  await enter();
  await card("A film with a clock").waitFor();
  assert.equal(await page.locator("a.card").count(), 3 + kHostile.length);
  const image = card("A film with a clock").locator("img");
  await image.scrollIntoViewIfNeeded();
  await page.waitForFunction((element) => element.complete && element.naturalWidth > 0, await image.elementHandle());
  await card("A film with a clock").getByText("0:20", { exact: true }).waitFor();
});

test("Library.SearchesAsOneTypesAndKeepsItInTheAddress", async () => {
  await enter();
  await page.keyboard.press("/");
  await page.keyboard.type("harb");
  await page.getByText("1 film for “harb”").waitFor();
  assert.equal(await page.locator("a.card").count(), 1);
  assert.equal(page.url(), `${kinora.origin}/#/?search=harb`);
  await page.reload();
  await page.getByText("1 film for “harb”").waitFor();
  await page.getByRole("searchbox").fill("no such film");
  await page.getByText("Nothing matches “no such film”").waitFor();
  await page.getByRole("button", { name: "Show all films" }).click();
  await card("harbour").waitFor();
});

test("Library.SortsByLength", async () => {
  await enter();
  await page.getByLabel("Order").selectOption("duration");
  await page.waitForFunction(() => document.querySelector("a.card .card-title")?.textContent === "A film with a clock");
});

test("Library.IsWalkedByKeys", async () => {
  await enter();
  await card("harbour").waitFor();
  await page.getByRole("searchbox").focus();
  await page.keyboard.press("ArrowDown");
  const focused = () => page.evaluate(() => [...document.querySelectorAll("a.card")].indexOf(document.activeElement));
  assert.equal(await focused(), 0);
  await page.keyboard.press("ArrowRight");
  assert.equal(await focused(), 1);
  await page.keyboard.press("ArrowDown");
  const below = await focused();
  assert.ok(below > 2, `row below: ${below}`);
  await page.keyboard.press("ArrowUp");
  assert.equal(await focused(), 1);
  await page.keyboard.press("?");
  await page.getByRole("dialog", { name: "Keys in the library" }).waitFor();
  await page.keyboard.press("Escape");
  await page.keyboard.press("Enter");
  await page.locator("video").waitFor();
  await page.keyboard.press("Escape");
  await card("harbour").waitFor();
  assert.equal(await focused(), 1);
});

test("Library.ShowsHostileNamesAsText", async () => {
  await enter();
  await card("harbour").waitFor();
  const titles = await page.locator(".card-title").allTextContents();
  const plain = (name) => name.replace(/[\n\t]/g, " ").trim();
  const shown = titles.map(plain);
  for (const name of kHostile.slice(0, 6)) assert.ok(shown.includes(plain(name)), `${name} in ${shown.join(" | ")}`);
  await card("onerror").click();
  await page.getByRole("heading", { name: "<img src=x" }).waitFor();
  await page.keyboard.press("Escape");
  await card("harbour").waitFor();
  assert.equal(await page.evaluate(() => window.hit), undefined);
  assert.equal(await page.locator(".card-title *, h1 *").count(), 0);
});

test("Library.FollowsFilesThatComeAndGoWithoutAReload", async () => {
  await enter();
  await card("harbour").waitFor();
  retitle(media("silent.mp4"), "", path.join(kinora.folder, "newcomer.mp4"));
  await lookForNewFilms();
  await card("newcomer").waitFor();
  rmSync(path.join(kinora.folder, "newcomer.mp4"));
  await lookForNewFilms();
  await card("newcomer").waitFor({ state: "detached" });
});

async function lookForNewFilms() {
  await page.getByLabel(/Menu of/).click();
  await page.getByRole("button", { name: "Look for new films" }).click();
}

test("Library.FitsATelephone", async () => {
  await page.context().close();
  page = await newPage(browser, kinora.origin, { viewport: kPhone, hasTouch: true, isMobile: true });
  await enter();
  await card("harbour").waitFor();
  assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
});
