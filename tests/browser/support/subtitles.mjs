// A subtitle that tells the time of the film, and whether the page shows it in step.
import assert from "node:assert/strict";
import { webvtt } from "../mock/server.mjs";
import { videoState } from "./browser.mjs";

// A file beside a film, as the server lists it.
export const kListed = {
  id: "/v/Films/film.en.srt", lang: "en", title: "", format: "srt", embedded: false, need_preview: false, file: "film.en.srt",
};

// One line for each second, which begins a little before it so that a seek to it meets it.
export function oneEachSecond(length) {
  return webvtt(...Array.from({ length }, (_, at) => [Math.max(0, at - 0.04), at + 0.9, `second ${at}`]));
}

// Waits until the page shows this and nothing else.
export async function subtitleIs(page, text) {
  const lines = ".subtitle-lines";
  const right = page.waitForFunction(([place, wanted]) => document.querySelector(place).innerText.trim() === wanted, [lines, text]);
  await right.catch(async () => assert.deepEqual([await page.locator(lines).innerText(), await videoState(page)], text));
}

// The picture of where the film was sent to is there.
const stands = (page) =>
  page.waitForFunction(() => {
    const video = document.querySelector("video");
    return video.paused && video.readyState >= 2 && !video.seeking;
  });

async function isAt(page, second) {
  await subtitleIs(page, `second ${second}`);
  await stands(page);
  await subtitleIs(page, `second ${second}`);
}

// What is shown when it changes, and at what time of the film, while that runs. A busy machine passes over what is short.
const changes = (page) =>
  page.evaluate(async () => {
    const [video, lines] = [document.querySelector("video"), document.querySelector(".subtitle-lines")];
    const seen = [];
    await new Promise((resolve) => {
      const watcher = new MutationObserver(() => {
        seen.push([video.currentTime, lines.innerText.trim()]);
        if (seen.filter(([, text]) => text !== "").length >= 2) resolve(watcher.disconnect());
      });
      watcher.observe(lines, { childList: true });
      document.querySelector('[aria-label="Play"]').click();
    });
    return seen;
  });

// A film of this length that stands still and whose subtitle is one for each second: after seeks, while it runs, and when
// its stream has gone and is opened anew.
export async function keepsStep(page, mock, length) {
  for (const key of [9, 4]) {
    await page.keyboard.press(String(key));
    await isAt(page, (key * length) / 10);
  }
  await page.keyboard.press("ArrowRight");
  const second = (4 * length) / 10 + 5;
  await isAt(page, second);
  for (const [at, text] of await changes(page)) {
    const begun = text === "" ? at - Math.floor(at) - 0.9 : at - Number(text.replace("second ", "")) + 0.04;
    assert.ok(begun >= -0.01 && begun < 0.95, `“${text}” at ${at}`);
  }
  await page.keyboard.press("k");
  await page.keyboard.press("4");
  await isAt(page, (4 * length) / 10);
  mock.sweep();
  await page.keyboard.press("8");
  await isAt(page, (8 * length) / 10);
}

// The same of the film that `watch` opens, whose subtitle is chosen from the menu while it stands still.
export async function keepsStepOnceChosen(page, mock, watch, length) {
  mock.subtitles[1] = [kListed];
  mock.lines = () => oneEachSecond(length);
  await watch();
  await page.keyboard.press("k");
  await page.getByRole("button", { name: "Subtitles", exact: true }).click();
  await page.getByRole("menuitemradio", { name: "English" }).click();
  await keepsStep(page, mock, length);
}
