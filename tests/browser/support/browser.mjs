// Chromium for the tests. Playwright's library lies where the test run installed it.
import { createRequire } from "node:module";
import path from "node:path";

const tools = process.env.KINORA_BROWSER_TOOLS ?? path.dirname(new URL(".", import.meta.url).pathname);
const { chromium } = createRequire(path.join(tools, "package.json"))("playwright-core");

// As root and in private views the browser's own sandbox has nothing to stand on.
const kArguments = [
  "--no-sandbox",
  "--disable-gpu",
  "--disable-dev-shm-usage",
  "--disable-background-networking",
  "--disable-component-update",
  "--disable-default-apps",
  "--disable-sync",
  "--no-first-run",
  "--mute-audio",
];

export const kDesktop = { width: 1440, height: 900 };
export const kPhone = { width: 360, height: 740 };

// A film may only begin upon a click. "user-gesture-required" wants it to be a few seconds old at most, as telephones
// do; "document-user-activation-required", the desktop's, takes one at any time.
export function launch(autoplay = "user-gesture-required") {
  const executablePath = process.env.KINORA_CHROMIUM ?? "/usr/bin/chromium";
  return chromium.launch({ executablePath, args: [...kArguments, `--autoplay-policy=${autoplay}`] });
}

// A page in a browser profile of its own. What it complains about and where it connects to is kept.
export async function newPage(browser, origin, options = {}) {
  const context = await browser.newContext({ baseURL: origin, viewport: kDesktop, ...options });
  context.setDefaultTimeout(30_000);
  const page = await context.newPage();
  page.complaints = [];
  page.foreign = [];
  page.on("pageerror", (error) => page.complaints.push(String(error)));
  page.on("console", (message) => {
    // The browser itself notes every answer over 399; those are part of the tests.
    const usual = message.text().startsWith("Failed to load resource");
    if (message.type() === "error" && !usual) page.complaints.push(message.text());
  });
  page.on("request", (request) => {
    if (new URL(request.url()).origin !== origin) page.foreign.push(request.url());
  });
  return page;
}

export async function signIn(page, user, password) {
  await page.goto("/");
  await page.getByLabel("Name").fill(user);
  await page.getByLabel("Password").fill(password);
  await page.getByRole("button", { name: "Sign in" }).click();
  await page.getByRole("search").waitFor();
}

// Polls until it holds.
export async function until(condition) {
  const deadline = Date.now() + 60_000;
  while (!(await condition())) {
    if (Date.now() > deadline) throw new Error(`in vain: ${condition}`);
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

// What the video element says of itself.
export function videoState(page) {
  return page.evaluate(() => {
    const video = document.querySelector("video");
    return {
      at: video.currentTime, duration: video.duration, width: video.videoWidth, paused: video.paused,
      error: video.error?.code ?? 0, muted: video.muted, volume: video.volume,
    };
  });
}

// Waits until the film runs past this second.
export function playsPast(page, second) {
  return page.waitForFunction((wanted) => {
    const video = document.querySelector("video");
    return video && !video.paused && !video.seeking && video.videoWidth > 0 && video.currentTime > wanted;
  }, second);
}
