// Films that no browser plays as they are, from the page to the encoder: copied and converted by a real Kinora.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { existsSync, readdirSync, readFileSync, realpathSync, rmSync, writeFileSync } from "node:fs";
import path from "node:path";
import { after, afterEach, before, beforeEach, test } from "node:test";
import { launch, newPage, playsPast, signIn, videoState } from "./support/browser.mjs";
import { kPassword, kUser, retitle, settle, startKinora } from "./support/kinora.mjs";
import { subtitleIs } from "./support/subtitles.mjs";

const kStreams = "/tmp/Kinora/HLS";
const kIdle = 5; // seconds after which an encoder that nobody needs ends
const kSlowly = 120_000; // other tests may have the machine
const media = (name) => path.join(process.env.KINORA_MEDIA, name);

let browser;
let kinora;
let page;
let formats; // of the streams that the page has opened

// Ten minutes that are quickly encoded: far more than the page loads ahead.
function makeLongFilm(folder) {
  const picture = ["-f", "lavfi", "-i", "testsrc2=size=320x240:rate=25:duration=20"];
  const sound = ["-f", "lavfi", "-i", "sine=frequency=440:duration=20"];
  const once = path.join(folder, "once.avi");
  const codecs = ["-c:v", "mpeg4", "-q:v", "8", "-c:a", "libmp3lame"];
  execFileSync("ffmpeg", ["-nostdin", "-v", "error", ...picture, ...sound, ...codecs, once]);
  retitle(once, "An old film", path.join(folder, "old.avi"), { repeat: 29 });
  rmSync(once);
}

const kWords = { German: "Größe und Übermut, schön", Chinese: "潮水上漲之前，我們就離開了" };

// A film as browsers take it, and beside it a subtitle for each language in a charset that was usual for it.
function makeSubtitledFilm(folder) {
  retitle(media("h264_aac.mp4"), "A film with letters", path.join(folder, "words.mp4"));
  for (const [name, charset, words] of [["words.de.srt", "CP1252", kWords.German], ["words.zh.srt", "BIG5", kWords.Chinese]]) {
    const text = `1\r\n00:00:01,000 --> 00:00:19,000\r\n${words}\r\n`;
    writeFileSync(path.join(folder, name), execFileSync("iconv", ["-f", "UTF-8", "-t", charset], { input: text }));
  }
}

// The same film with two tracks of text.
function makeFilmWithTracks(folder) {
  const words = path.join(folder, "inside.txt");
  writeFileSync(words, "1\n00:00:01,000 --> 00:00:09,000\nThe first line\n\n2\n00:00:11,000 --> 00:00:19,000\nThe second <i>line</i>\n");
  const inputs = ["-i", media("h264_aac.mp4"), "-f", "srt", "-i", words, "-map", "0", "-map", "1", "-map", "1"];
  const tracks = ["-c", "copy", "-c:s:0", "srt", "-c:s:1", "ass", "-metadata:s:s:0", "language=fre", "-metadata:s:s:1", "language=ger"];
  const file = path.join(folder, "inside.mkv");
  execFileSync("ffmpeg", ["-nostdin", "-v", "error", ...inputs, ...tracks, "-metadata", "title=A film with words inside", file]);
  rmSync(words);
  settle(file);
}

before(async () => {
  // On a machine that is busy a film begins long after the click.
  browser = await launch("document-user-activation-required");
  const fill = (folder) => {
    const ac3 = { repeat: 9, options: ["-c:a", "ac3"] };
    retitle(media("encode_25.mkv"), "A film with AC-3", path.join(folder, "ac3.mkv"), ac3);
    // AAC and MP3, of which one is copied, and two tracks of AAC, which play as they are.
    const tracks = ["-map", "0:v", "-map", "0:a"];
    const languages = (title, file, codecs) =>
      retitle(media("languages.mkv"), title, path.join(folder, file), { repeat: 4, options: [...tracks, ...codecs] });
    languages("A film in two languages", "two.mkv", []);
    languages("A film with two voices", "voices.mp4", ["-c:a:1", "aac"]);
    makeLongFilm(folder);
    makeSubtitledFilm(folder);
    makeFilmWithTracks(folder);
  };
  kinora = await startKinora(fill, { idle_seconds: kIdle });
});
after(async () => {
  await browser?.close();
  await kinora?.stop();
});
beforeEach(async () => {
  page = await newPage(browser, kinora.origin);
  page.setDefaultTimeout(kSlowly);
  formats = [];
  page.on("response", async (response) => {
    if (!response.request().postData()?.includes("method=open")) return;
    const answer = await response.json().catch(() => undefined); // the page may be left meanwhile
    if (answer) formats.push(answer.result?.format);
  });
  await signIn(page, kUser, kPassword);
});
afterEach(async () => {
  assert.deepEqual(page.complaints, []);
  assert.deepEqual(page.foreign, []);
  assert.equal(await page.getByRole("alert").count(), 0);
  await page.goto("about:blank");
  await until(() => streams().length === 0);
  await page.context().close();
});

const card = (title) => page.locator("a.card", { hasText: title });

async function watch(title) {
  await card(title).click();
  await playsPast(page, 0.3);
}

async function until(condition) {
  const deadline = Date.now() + kSlowly;
  while (!(await condition())) {
    assert.ok(Date.now() < deadline, `in time: ${condition}`);
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

// What is taken away while it is looked at was not there.
function orNothing(look, nothing) {
  try {
    return look();
  } catch (error) {
    if (["ENOENT", "ENOTDIR", "ESRCH"].includes(error.code)) return nothing;
    throw error;
  }
}

// false: the encoder has written there meanwhile.
function removed(folder) {
  try {
    rmSync(folder, { recursive: true, force: true });
    return true;
  } catch (error) {
    if (error.code !== "ENOTEMPTY") throw error;
    return false;
  }
}

const streams = () => orNothing(() => readdirSync(kStreams), []);
const workFolder = (stream) => path.join(kStreams, stream, "work");
const fragments = (stream) => orNothing(() => readdirSync(workFolder(stream)), []).filter((file) => file.endsWith(".ts"));
const mainFragments = (stream) => fragments(stream).map((file) => parseInt(file, 10)).filter(Number.isInteger);

// What the stream's encoder says of itself; nothing before there was one.
function job(stream) {
  const record = orNothing(() => readFileSync(path.join(workFolder(stream), "job.json"), "utf8"), "");
  return record === "" ? undefined : JSON.parse(record);
}

// A process that has ended and is still listed has no command line.
function runs(pid) {
  return orNothing(() => readFileSync(`/proc/${pid}/cmdline`, "utf8"), "").includes("ffmpeg");
}

function encoder(stream) {
  const pid = job(stream)?.encoder.pid ?? 0;
  return pid > 0 && runs(pid) ? pid : 0;
}

// The only stream's encoder, once it is at work.
async function encoderAtWork() {
  let pid = 0;
  await until(() => {
    const [stream] = streams();
    pid = stream ? encoder(stream) : 0;
    return pid > 0;
  });
  return pid;
}

const item = (name) => page.getByRole("menuitemradio", { name });

for (const [title, format, width] of [
  ["A film with AC-3", "hls_remux", 160],
  ["An old film", "hls", 320],
]) {
  test(`Films.PlayAndSeek(${title}, ${format})`, async () => {
    await watch(title);
    await until(() => formats.length > 0);
    assert.deepEqual(formats, [format]);
    const state = await videoState(page);
    assert.equal(state.width, width);
    for (const tenth of ["5", "9", "1"]) {
      const second = (state.duration * tenth) / 10;
      await page.keyboard.press(tenth);
      await page.waitForFunction((wanted) => document.querySelector("video").currentTime >= wanted - 0.1, second);
      await playsPast(page, second);
      assert.ok((await videoState(page)).at < second + 20);
    }
    assert.equal(streams().length, 1);
  });
}

test("Films.SwitchTheirSound", async () => {
  const tracks = new Set();
  page.on("request", (request) => {
    const track = /^a(\d+)_/.exec(new URL(request.url()).searchParams.get("fragment") ?? "")?.[1];
    if (track) tracks.add(track);
  });
  await watch("A film in two languages");
  const [stream] = streams();
  assert.deepEqual([...tracks], ["1"]);
  await page.keyboard.press("a");
  const sound = page.getByRole("menu", { name: "Sound" });
  const other = sound.locator('[aria-checked="false"]');
  const name = await other.innerText();
  assert.match(name, /English|German/);
  await other.click();
  await until(() => tracks.has("2"));
  const { at } = await videoState(page);
  await playsPast(page, at + 0.5);
  await page.keyboard.press("a");
  assert.equal(await sound.locator('[aria-checked="true"]').innerText(), name);
  assert.deepEqual(streams(), [stream]);
});

test("Films.SwitchTheirSoundThatAreSentAsTheyAre", async () => {
  await watch("A film with two voices");
  await page.keyboard.press("5");
  await playsPast(page, 20);
  await page.keyboard.press("a");
  await item("German").click();
  await until(() => formats.length === 2);
  assert.deepEqual(formats, ["raw", "hls_remux"]);
  await playsPast(page, 20);
  assert.ok((await videoState(page)).at < 35);
  await page.keyboard.press("a");
  assert.equal(await item("German").getAttribute("aria-checked"), "true");
  assert.equal(await item("English").getAttribute("aria-checked"), "false");
});

test("Films.KeepTheirPositionWhenTheQualityChanges", async () => {
  await watch("A film with AC-3");
  const [copied] = streams();
  await page.keyboard.press("5");
  await playsPast(page, 60);
  await page.keyboard.press("q");
  await item("Low").click();
  await until(() => formats.length === 2);
  await playsPast(page, 60);
  assert.ok((await videoState(page)).at < 80);
  assert.deepEqual(formats, ["hls_remux", "hls"]);
  await until(() => streams().length === 1 && streams()[0] !== copied);
});

test("Films.EndTheirEncoderWhenTheyAreLeft", async () => {
  await card("An old film").click();
  const pid = await encoderAtWork();
  await page.keyboard.press("Escape");
  await until(() => streams().length === 0 && !runs(pid));
});

test("Films.AreNotEncodedFromTheirBeginningWhenTheyGoOnLater", async () => {
  await watch("An old film");
  await page.keyboard.press("6");
  await playsPast(page, 360);
  await page.keyboard.press("Escape");
  await until(() => streams().length === 0);
  await card("An old film").click();
  await playsPast(page, 360);
  const [stream] = streams();
  // A fragment lasts ten seconds at most.
  const made = mainFragments(stream);
  assert.ok(made.length > 0 && Math.min(...made) >= 35, `made ${made}`);
  assert.ok(job(stream).first >= 35);
  assert.equal(streams().length, 1);
});

test("Films.ThatPauseForLongHoldNoEncoderAndGoOnUnderTheSameStream", async () => {
  await watch("An old film");
  const pid = await encoderAtWork();
  await page.keyboard.press("k");
  const [stream] = streams();
  await until(() => !runs(pid) && encoder(stream) === 0);
  assert.equal((await videoState(page)).paused, true);
  await page.keyboard.press("k");
  await page.keyboard.press("9");
  await playsPast(page, 540);
  assert.deepEqual(streams(), [stream]);
});

test("Films.GoOnAtTheirPositionWhenTheirStreamWasSwept", async () => {
  await watch("An old film");
  const [swept] = streams();
  const link = path.join(kStreams, swept);
  const folder = realpathSync(link);
  rmSync(link);
  await until(() => removed(folder));
  await page.keyboard.press("8");
  await playsPast(page, 480);
  assert.ok((await videoState(page)).at < 500);
  await until(() => formats.length === 2);
  assert.equal(existsSync(link), false);
});

test("Films.GoOnWhenTheServerIsStartedAnewInMidFilm", async () => {
  await watch("An old film");
  const opened = streams();
  const [listener] = execFileSync("pgrep", ["-P", String(kinora.pid), "-f", "entry.cgi"], { encoding: "utf8" }).split("\n");
  process.kill(Number(listener), "SIGKILL");
  await page.keyboard.press("7");
  await playsPast(page, 420);
  assert.deepEqual(streams(), opened);
});

async function chooseSubtitle(name) {
  await page.getByRole("button", { name: "Subtitles", exact: true }).waitFor(); // they are listed
  await page.keyboard.press("s");
  await item(name).click();
}

test("Films.ShowTheSubtitlesBesideThemInTheirCharsets", async () => {
  await watch("A film with letters");
  await page.keyboard.press("k");
  await page.keyboard.press("5");
  await chooseSubtitle("German");
  await subtitleIs(page, kWords.German);
  await chooseSubtitle("Chinese");
  await page.keyboard.press("s");
  await page.getByRole("menuitem", { name: "Charset" }).click();
  await item("Chinese, traditional (Big5)").click();
  await subtitleIs(page, kWords.Chinese);
});

test("Films.ShowTheSubtitlesInsideThem", async () => {
  await watch("A film with words inside");
  await page.keyboard.press("k");
  await page.keyboard.press("2");
  await chooseSubtitle(/^French/);
  await subtitleIs(page, "The first line");
  await page.keyboard.press("7");
  await subtitleIs(page, "The second line");
  assert.equal(await page.locator(".subtitle-lines i").innerText(), "line");
  await chooseSubtitle(/^German/);
  await subtitleIs(page, "The second line");
});
