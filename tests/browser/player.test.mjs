// Watching a film in Chromium with a real Kinora.
import assert from "node:assert/strict";
import { readdirSync, rmSync } from "node:fs";
import path from "node:path";
import { after, afterEach, before, beforeEach, test } from "node:test";
import { launch, newPage, playsPast, signIn, videoState } from "./support/browser.mjs";
import { kPassword, kUser, put, retitle, startKinora } from "./support/kinora.mjs";

const kStreams = "/tmp/Kinora/RAW";
const media = (name) => path.join(process.env.KINORA_MEDIA, name);

let browser;
let kinora;
let page;

before(async () => {
  browser = await launch();
  const fill = (folder) => {
    put(media("h264_aac.mp4"), path.join(folder, "clock.mp4"));
    retitle(media("moov_last.mp4"), "", path.join(folder, "index at the end.mp4"));
    put(media("hevc_10bit.mkv"), path.join(folder, "mountains.mkv"));
    // Ten minutes: more than the browser holds, so that it has to ask again after a jump.
    const options = ["-movflags", "+faststart"];
    retitle(media("h264_aac.mp4"), "A long film", path.join(folder, "long.mp4"), { repeat: 29, options });
  };
  // What browsers can't play stays unplayed here.
  kinora = await startKinora(fill, { transcoding: "no" });
});
after(async () => {
  await browser?.close();
  await kinora?.stop();
});
beforeEach(async () => {
  page = await newPage(browser, kinora.origin);
  await signIn(page, kUser, kPassword);
});
afterEach(async () => {
  assert.deepEqual(page.complaints, []);
  assert.deepEqual(page.foreign, []);
  await page.context().close();
});

const card = (title) => page.locator("a.card", { hasText: title });

async function watch(title) {
  await card(title).click();
  await playsPast(page, 0.3);
}

function streams() {
  try {
    return readdirSync(kStreams);
  } catch (error) {
    if (error.code === "ENOENT") return [];
    throw error;
  }
}

async function until(condition) {
  const deadline = Date.now() + 30_000;
  while (!(await condition())) {
    assert.ok(Date.now() < deadline, "in time");
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

for (const title of ["A film with a clock", "index at the end"]) {
  test(`Player.PlaysAndSeeks(${title})`, async () => {
    await watch(title);
    const { duration, width, error } = await videoState(page);
    assert.equal(width, 1280);
    assert.equal(error, 0);
    await page.keyboard.press("5"); // to its half
    await playsPast(page, duration / 2);
    const { at } = await videoState(page);
    assert.ok(at < duration / 2 + 2, `at ${at} of ${duration}`);
    assert.equal(await page.getByRole("alert").count(), 0);
  });
}

test("Player.JumpsToTheMiddleOfALongFilmByTheTimeLine", async () => {
  await watch("A long film");
  const line = await page.getByLabel("Position in the film").boundingBox();
  await page.mouse.move(line.x + line.width / 2, line.y + line.height / 2);
  await page.mouse.down();
  await page.mouse.up();
  await playsPast(page, 290);
  assert.ok((await videoState(page)).at < 320);
});

test("Player.ObeysItsKeys", async () => {
  await watch("A long film");
  const state = () => videoState(page);
  await page.keyboard.press(" ");
  assert.equal((await state()).paused, true);
  const { at } = await state();
  await page.keyboard.press("ArrowRight");
  await page.keyboard.press("l");
  assert.ok(Math.abs((await state()).at - at - 15) < 0.5);
  await page.keyboard.press("ArrowLeft");
  assert.ok(Math.abs((await state()).at - at - 10) < 0.5);
  await page.keyboard.press("m");
  assert.equal((await state()).muted, true);
  await page.keyboard.press("m");
  await page.keyboard.press("ArrowDown");
  assert.ok(Math.abs((await state()).volume - 0.9) < 0.01);
  await page.keyboard.press("?");
  await page.getByRole("dialog", { name: "Keys in the player" }).waitFor();
  await page.keyboard.press("Escape");
  await page.keyboard.press("f");
  await page.waitForFunction(() => document.fullscreenElement?.classList.contains("player"));
  await page.keyboard.press("f");
  await page.waitForFunction(() => document.fullscreenElement === null);
  await page.keyboard.press("k");
  assert.equal((await state()).paused, false);
  await page.keyboard.press("Escape");
  await card("A long film").waitFor();
});

test("Player.HasAnAddressThatSurvivesReloadAndBack", async () => {
  await watch("A long film");
  assert.match(page.url(), /#\/film\/[0-9]+$/);
  await page.reload();
  await page.getByRole("heading", { name: "A long film" }).waitFor();
  await page.waitForFunction(() => document.querySelector("video")?.readyState >= 2);
  await page.goBack();
  await card("A long film").waitFor();
});

test("Player.GoesOnWhereTheFilmWasLeft", async () => {
  await watch("A long film");
  await page.keyboard.press("3");
  await playsPast(page, 180);
  await page.keyboard.press("Escape");
  await card("A long film").locator(".watched").waitFor();
  await card("A long film").click();
  await playsPast(page, 180);
  await page.getByText("Continued at 3:0").waitFor();
  await page.getByRole("button", { name: "Start over" }).click();
  await page.waitForFunction(() => document.querySelector("video").currentTime < 10);
});

test("Player.OpensTheStreamAgainAtItsPositionWhenItWasSwept", async () => {
  await watch("A long film");
  const before = streams();
  assert.equal(before.length, 1);
  rmSync(path.join(kStreams, before[0]), { recursive: true });
  await page.keyboard.press("8"); // beyond what the browser holds
  await playsPast(page, 480);
  assert.ok((await videoState(page)).at < 500);
  const after = streams();
  assert.equal(after.length, 1);
  assert.notEqual(after[0], before[0]);
  assert.equal(await page.getByRole("alert").count(), 0);
});

test("Player.StaysPausedWhenASweptStreamIsOpenedAgain", async () => {
  await watch("A long film");
  await page.keyboard.press("k");
  const [swept] = streams();
  rmSync(path.join(kStreams, swept), { recursive: true });
  await page.keyboard.press("8");
  await until(() => streams().length === 1 && streams()[0] !== swept);
  await page.waitForFunction(() => {
    const video = document.querySelector("video");
    return video.readyState >= 2 && !video.seeking && Math.abs(video.currentTime - 480) < 2;
  });
  assert.equal((await videoState(page)).paused, true);
});

test("Player.ClosesItsStreamWhenTheFilmIsLeftAndWhenThePageIs", async () => {
  await watch("A long film");
  assert.equal(streams().length, 1);
  await page.keyboard.press("Escape");
  await until(() => streams().length === 0);
  await watch("A long film");
  await page.goto("about:blank");
  await until(() => streams().length === 0);
});

test("Player.SaysWhyAFilmCannotBePlayed", async () => {
  await card("mountains").click();
  await page.getByRole("alert").getByText("MKV · HEVC").waitFor();
  await page.getByRole("button", { name: "Back to the films" }).last().click();
  await card("mountains").waitFor();
});

test("Player.SaysWhenTheFilmIsGone", async () => {
  await page.goto("/#/film/999999");
  await page.getByRole("alert").getByText("This film is not in the library any more").waitFor();
});
