// The players that run in a page. Their parts that run in the page offer all players' features in one way:
//   player.tracks()     the audio tracks: name, language, active
//   player.choose(i)    switches to one of them
//   player.subtitles()  of players of HLS, the subtitles: name, language, active
//   player.read(i)      shows one of them
//   player.errors       what the player complained about
import { readFileSync } from "node:fs";
import path from "node:path";

const modules = path.join(process.env.KINORA_BROWSER_TOOLS, "node_modules");

// No attempt is made twice: what fails once is a failure. Time is not what these tests are about.
async function startHlsJs(url) {
  const video = document.querySelector("video");
  const patient = { default: { maxTimeToFirstByteMs: 120000, maxLoadTimeMs: 120000, timeoutRetry: null, errorRetry: null } };
  const hls = new Hls({ fragLoadPolicy: patient, playlistLoadPolicy: patient, manifestLoadPolicy: patient });
  const errors = [];
  // A buffer that runs dry is a matter of the machine's speed; a load is broken off by the player itself; and where the
  // sound's first frame lies before the picture's, a slow start makes the player step over that.
  const isHarmless = ({ details }) => details === "bufferStalledError" || details === "aborted" ||
    (details === "bufferSeekOverHole" && video.currentTime < 0.2);
  hls.on(Hls.Events.ERROR, (event, data) => {
    const at = data.frag ? `${data.frag.type} fragment ${data.frag.sn}` : "";
    if (!isHarmless(data)) errors.push(`${data.details} ${at} ${data.error?.message ?? ""}`);
  });
  const parsed = new Promise((resolve) => hls.once(Hls.Events.LEVEL_LOADED, resolve));
  hls.loadSource(url);
  hls.attachMedia(video);
  await parsed;
  window.player = {
    errors,
    tracks: () => hls.audioTracks.map(({ name, lang }, i) => ({ name, language: lang, active: i === hls.audioTrack })),
    choose(i) { hls.audioTrack = i; },
    subtitles: () => hls.subtitleTracks.map(({ name, lang }, i) => ({ name, language: lang ?? "", active: i === hls.subtitleTrack })),
    read(i) { hls.subtitleTrack = i; },
  };
}

async function startShaka(url) {
  const video = document.querySelector("video");
  shaka.polyfill.installAll();
  const player = new shaka.Player();
  await player.attach(video);
  const once = { maxAttempts: 1, timeout: 0, stallTimeout: 0, connectionTimeout: 0 };
  player.configure({ streaming: { retryParameters: once }, manifest: { retryParameters: once } });
  const errors = [];
  player.addEventListener("error", ({ detail }) => errors.push(`${detail.code} ${detail.message ?? ""} ${detail.data}`));
  await player.load(url, 0, "application/x-mpegurl");
  window.player = {
    errors,
    tracks: () => player.getAudioTracks().map(({ label, language, active }) => ({ name: label, language, active })),
    choose(i) { player.selectAudioTrack(player.getAudioTracks()[i]); },
    subtitles: () => player.getTextTracks().map(({ label, language, active }) => ({ name: label, language, active })),
    read(i) { player.selectTextTrack(player.getTextTracks()[i]); },
  };
}

async function startDashJs(url) {
  const video = document.querySelector("video");
  const player = dashjs.MediaPlayer().create();
  const never = { MPD: 0, MediaSegment: 0, InitializationSegment: 0 };
  player.updateSettings({
    debug: { logLevel: dashjs.Debug.LOG_LEVEL_NONE },
    errors: { recoverAttempts: { mediaErrorDecode: 0 } },
    streaming: {
      retryAttempts: never, manifestRequestTimeout: 120000, fragmentRequestTimeout: 120000,
      selectionModeForInitialTrack: "firstTrack", utcSynchronization: { enabled: false }, buffer: { bufferToKeep: 120 },
    },
  });
  const errors = [];
  player.on("error", ({ error }) => errors.push(`${error.code} ${error.message}`));
  const ready = new Promise((resolve) => player.on("streamInitialized", resolve));
  player.initialize(video, url, false);
  await ready;
  window.player = {
    errors,
    tracks: () => player.getTracksFor("audio").map((track) => ({ language: track.lang, active: track.id === player.getCurrentTrackFor("audio").id })),
    choose(i) { player.setCurrentTrack(player.getTracksFor("audio")[i]); },
  };
}

// The video element alone: an endless film, of which each other place is another address.
async function startElement(url) {
  const video = document.querySelector("video");
  const errors = [];
  video.addEventListener("error", () => errors.push(video.error.message));
  const load = (second) => new Promise((resolve) => {
    video.addEventListener("loadedmetadata", resolve, { once: true });
    video.src = `${url}&seek=${Math.floor(second)}`;
  });
  window.player = { errors, tracks: () => [], choose() {}, load };
  await load(0);
}

const once = (name, script, start) => ({ name, scripts: [path.join(modules, script)], start });
export const kHlsPlayers = [
  once("hls.js", "hls.js/dist/hls.min.js", startHlsJs),
  once("Shaka", "shaka-player/dist/shaka-player.hls.js", startShaka),
];
export const kSmoothPlayer = {
  name: "dash.js",
  scripts: ["dash.all.min.js", "dash.mss.min.js"].map((file) => path.join(modules, "dashjs/dist/modern/umd", file)),
  start: startDashJs,
};
export const kWebmPlayer = { name: "Chromium", scripts: [], start: startElement };

// Notes wherever the clock goes back without a seek.
function watchClock() {
  const video = document.querySelector("video");
  window.jumps = [];
  let last = 0;
  const look = () => {
    const at = video.currentTime;
    if (video.seeking) last = 0;
    else if (at < last) window.jumps.push(`${last} to ${at}`);
    if (!video.seeking) last = at;
  };
  video.addEventListener("seeking", look);
  video.addEventListener("timeupdate", look);
  setInterval(look, 10);
}

// A page of the house's own origin that holds nothing but the player.
export async function openPlayer(page, player, stream) {
  const address = new URL("/player.html", stream.master).href;
  await page.route(address, (route) => route.fulfill({ contentType: "text/html", body: "<!DOCTYPE html><video muted></video>" }));
  await page.goto(address);
  for (const script of player.scripts) await page.evaluate(readFileSync(script, "utf8"));
  await page.evaluate(watchClock);
  await page.evaluate(player.start, stream.master);
}
