// Takes docs/page.png: the page with a real Kinora and generated films. Run inside a private view:
//   tests/browser/run PREFIX page_picture.mjs   writes PREFIX/../page.png
import { execFileSync } from "node:child_process";
import path from "node:path";
import { launch, newPage, signIn } from "./support/browser.mjs";
import { kPassword, kUser, settle, startKinora } from "./support/kinora.mjs";

const kWarm = "c0=0x1d3b4a:c1=0xd9a05b:c2=0x7a3b2e:n=3";
const kFilms = [
  ["A walk along the coast", "1920x1080", `gradients=type=linear:x0=0:y0=1080:x1=1920:y1=0:${kWarm}`],
  ["Eclipse", "1920x1080", "gradients=type=radial:c0=0xf2d7a0:c1=0x120e0a:x0=960:y0=540:x1=1700:y1=540"],
  ["Harbour at night", "1280x720", "gradients=type=linear:x0=640:y0=0:x1=640:y1=720:c0=0x0b1d2e:c1=0x7da5c0"],
  ["The set, zoomed", "1280x720", "mandelbrot=start_scale=0.6:start_x=-0.743:start_y=-0.131"],
  ["Northern lights", "3840x2160", "gradients=type=spiral:c0=0x0d2a2b:c1=0x58b09c:c2=0x10131f:n=3"],
  ["Test card", "1280x720", "smptehdbars"],
  ["Slow colours", "1920x1080", "gradients=type=circular:c0=0x40222f:c1=0xe0b27a"],
  ["Snowfall", "1280x720", "life=mold=8:ratio=0.12:death_color=#1f2d3d:life_color=#e8eef5"],
];

function make(folder) {
  kFilms.forEach(([title, size, picture], index) => {
    const source = `${picture}${picture.includes("=") ? ":" : "="}size=${size}:rate=5`;
    const file = path.join(folder, `${index}.mp4`);
    const seconds = String(8 + 7 * index);
    const encoding = ["-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-metadata", `title=${title}`];
    execFileSync("ffmpeg", ["-nostdin", "-v", "error", "-f", "lavfi", "-i", source, "-t", seconds, ...encoding, file]);
    settle(file);
  });
}

const browser = await launch();
const kinora = await startKinora(make);
const page = await newPage(browser, kinora.origin, { viewport: { width: 1280, height: 720 } });
await signIn(page, kUser, kPassword);
await page.waitForFunction(
  (count) => document.querySelectorAll(".has-picture").length === count,
  kFilms.length,
);
await page.waitForFunction(() => document.getAnimations().length === 0);
await page.screenshot({ path: path.join(path.dirname(process.env.KINORA_PREFIX), "page.png") });
await browser.close();
await kinora.stop();
