// Takes the pictures in docs/: the library and the player with a real Kinora and generated films.
//   tests/browser/run PREFIX pictures.mjs   writes page.png and player.png into the folder that PREFIX lies in
import { execFileSync } from "node:child_process";
import { rmSync } from "node:fs";
import path from "node:path";
import { launch, newPage, playsPast, signIn } from "./support/browser.mjs";
import { kPassword, kUser, retitle, settle, startKinora } from "./support/kinora.mjs";

const kWarm = "c0=0x1d3b4a:c1=0xd9a05b:c2=0x7a3b2e:n=3";
const kFilms = [
  ["A walk along the coast", "1920x1080", `gradients=type=linear:x0=0:y0=1080:x1=1920:y1=0:${kWarm}`],
  ["Eclipse", "1920x1080", "gradients=type=radial:c0=0xf2d7a0:c1=0x120e0a:x0=960:y0=540:x1=1700:y1=540"],
  ["Harbour at night", "1280x720", "gradients=type=linear:x0=640:y0=0:x1=640:y1=720:c0=0x0b1d2e:c1=0x7da5c0"],
  ["Northern lights", "3840x2160", "gradients=type=spiral:c0=0x0d2a2b:c1=0x58b09c:c2=0x10131f:n=3"],
  ["Test card", "1280x720", "smptehdbars"],
  ["Slow colours", "1920x1080", "gradients=type=circular:c0=0x40222f:c1=0xe0b27a"],
  ["Snowfall", "1280x720", "life=mold=8:ratio=0.12:death_color=#1f2d3d:life_color=#e8eef5"],
];

const kPlayed = "Evening in the hills";

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

// A still of three hills before a low sun, as expressions for each pixel.
function hills() {
  const above = (height, wide, length, from, narrow, short) =>
    `gt(Y,${height}+${wide}*sin(X/${length}+${from})+${narrow}*sin(X/${short}))`;
  const [near, middle, far] = [above(600, 45, 260, 5, 12, 71), above(510, 50, 210, 3, 16, 47), above(430, 40, 170, 1, 18, 61)];
  const sun = "exp(-(pow(X-860,2)+pow(Y-330,2))/9000)";
  const colour = (first, second, third, [top, falling, shining]) =>
    `if(${near},${first},if(${middle},${second},if(${far},${third},clip(${top}+${falling}*pow(Y/430,1.5)+${shining}*${sun},0,255))))`;
  const [red, green, blue] = [
    colour(20, 58, 120, [34, 190, 150]), colour(21, 44, 74, [40, 92, 130]), colour(31, 54, 78, [78, 4, 60]),
  ];
  return `geq=r='${red}':g='${green}':b='${blue}',gblur=sigma=1.2,loop=-1:1`;
}

// A long film with two tracks, so that the player shows all that it has.
function makePlayed(folder) {
  const once = path.join(folder, "once.mkv");
  const picture = ["-f", "lavfi", "-i", `color=size=1280x720:rate=5,format=gbrp,${hills()}`];
  const sound = ["-f", "lavfi", "-i", "sine=frequency=220", "-map", "0", "-map", "1", "-map", "1", "-c:a", "aac"];
  const languages = ["-metadata:s:a:0", "language=eng", "-metadata:s:a:1", "language=ger"];
  const encoding = ["-c:v", "libx264", "-preset", "ultrafast", "-crf", "12", "-g", "20", "-pix_fmt", "yuv420p"];
  execFileSync("ffmpeg", ["-nostdin", "-v", "error", ...picture, ...sound, "-t", "20", ...languages, ...encoding, once]);
  retitle(once, kPlayed, path.join(folder, "hills.mkv"), { repeat: 280, options: ["-map", "0"] });
  rmSync(once);
}

const take = (page, name) => page.screenshot({ path: path.join(path.dirname(process.env.KINORA_PREFIX), name) });

async function takeLibrary(page) {
  await page.waitForFunction(
    (count) => document.querySelectorAll(".has-picture").length === count,
    kFilms.length + 1,
  );
  await page.waitForFunction(() => document.getAnimations().length === 0);
  await take(page, "page.png");
}

async function takePlayer(page) {
  await page.locator("a.card", { hasText: kPlayed }).click();
  await playsPast(page, 0.5);
  await page.keyboard.press("k");
  await page.keyboard.press("3");
  await page.waitForFunction(() => !document.querySelector("video").seeking && document.querySelector("video").readyState > 2);
  await page.getByRole("button", { name: "Sound", exact: true }).click();
  await page.getByRole("menuitemradio", { name: "German" }).hover();
  await page.waitForFunction(() => document.getAnimations().length === 0);
  await take(page, "player.png");
}

const browser = await launch("no-user-gesture-required");
const kinora = await startKinora((folder) => {
  make(folder);
  makePlayed(folder);
});
const page = await newPage(browser, kinora.origin, { viewport: { width: 1280, height: 720 } });
await signIn(page, kUser, kPassword);
await takeLibrary(page);
await takePlayer(page);
await browser.close();
await kinora.stop();
