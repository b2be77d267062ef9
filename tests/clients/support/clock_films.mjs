// Films that tell their own time: the columns of each picture are the bits of its number, and a beep begins with each
// second. What is seen and heard can so be held against the times that a stream gives it.
import { execFileSync } from "node:child_process";
import { existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import path from "node:path";
import { settle } from "../../browser/support/kinora.mjs";
import { timesIn } from "./format_films.mjs";
import { run } from "./programs.mjs";

export const kSeconds = 24;

export const kBits = 10;
const kFrequency = 8000; // Hertz, of the sound as it is looked at
const kBeep = 0.1; // seconds
const kQuiet = 0.5; // seconds before a beep at least

const bits = `if(mod(floor(N/pow(2,floor(X/16))),2),220,30)`;
const picture = (rate) => ["-f", "lavfi", "-i", `color=size=${16 * kBits}x96:rate=${rate}:duration=${kSeconds},geq=lum='${bits}':cb=128:cr=128`];
const kSound = ["-f", "lavfi", "-i", `aevalsrc='if(lt(mod(t,1),${kBeep}),0.8*sin(2*PI*1000*t),0)':s=48000:d=${kSeconds}`];
// A key picture every 4.12 seconds.
const kCopied = ["-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-g", "103", "-keyint_min", "103",
  "-sc_threshold", "0", "-bf", "3", "-b_strategy", "0", "-x264-params", "b-pyramid=normal:ref=4"];
const kEncoded = ["-c:v", "mpeg2video", "-q:v", "3", "-g", "12", "-bf", "2"];

// rate: pictures a second, and how ffmpeg writes it. What ffmpeg puts into a transport stream begins at 1.4 seconds.
export const kClockFilms = [
  { film: "copied.mkv", format: "hls_remux", rate: 25, options: [...kCopied, "-c:a", "aac"] },
  { film: "copied from 1.4 s.ts", format: "hls_remux", rate: 25, options: [...kCopied, "-c:a", "aac"] },
  { film: "copied with encoded sound.mp4", format: "hls_remux", rate: 25, options: [...kCopied, "-c:a", "ac3"] },
  { film: "encoded from 1.4 s.ts", format: "hls", rate: 25, options: [...kEncoded, "-c:a", "mp2"] },
  { film: "encoded.mkv", format: "hls", rate: 24000 / 1001, options: [...kEncoded, "-c:a", "ac3"] },
];

// Of those that browsers show without fragments of HLS.
const kVp8 = ["-c:v", "libvpx", "-deadline", "realtime", "-cpu-used", "16", "-b:v", "1M", "-g", "103", "-auto-alt-ref", "0"];
export const kShownFilms = [
  { film: "encoded.mkv", formats: ["ss", "webm_remux"], rate: 24000 / 1001, options: [...kEncoded, "-c:a", "ac3"] },
  { film: "copied.webm", formats: ["webm_remux"], rate: 25, options: [...kVp8, "-c:a", "libopus"] },
];

export function makeClockFilms(folder, films = kClockFilms) {
  for (const { film, rate, options } of films) {
    const file = path.join(folder, film);
    const input = [...picture(rate === 25 ? "25" : "24000/1001"), ...kSound];
    execFileSync("ffmpeg", ["-nostdin", "-v", "error", "-bitexact", ...input, ...options, `file:${file}`]);
    settle(file);
  }
}

// Seconds from the beginning of a film to its first picture: the sound may begin with what its codec needs.
export function firstPictureOf(file) {
  const entries = ["-select_streams", "v", "-show_entries", "format=start_time:stream=start_time", "-of", "json"];
  const { format, streams } = JSON.parse(execFileSync("ffprobe", ["-v", "error", ...entries, file], { encoding: "utf8" }));
  return Number(streams[0].start_time) - Number(format.start_time);
}

const numberIn = (columns) => columns.reduce((number, light, bit) => number + (light > 128 ? 2 ** bit : 0), 0);

// Where beeps begin, in samples.
function beepsIn(samples) {
  const begins = [];
  let quiet = kQuiet * kFrequency;
  for (let i = 0; i < samples.length; i += 1) {
    const loud = Math.abs(samples[i]) > 0.2;
    if (loud && quiet >= kQuiet * kFrequency) begins.push(i);
    quiet = loud ? 0 : quiet + 1;
  }
  return begins;
}

// What a fragment shows and lets be heard: pictures [{ time, number }], sound { from, beeps }, each where there is one.
// All times are presentation times in seconds.
export async function look(bytes, { hasPicture, hasSound }) {
  const folder = mkdtempSync(path.join(tmpdir(), "clock-"));
  const file = (name) => path.join(folder, name);
  writeFileSync(file("fragment.ts"), bytes);
  const maps = [...(hasPicture ? ["-map", "0:v:0"] : []), ...(hasSound ? ["-map", "0:a:0"] : [])];
  const columns = ["-map", "0:v:0", "-vf", `scale=${kBits}:1:flags=area,format=gray`, "-fps_mode", "passthrough", "-f", "rawvideo"];
  const samples = ["-map", "0:a:0", "-ac", "1", "-ar", String(kFrequency), "-f", "f32le"];
  await run("ffmpeg", ["-nostdin", "-v", "error", "-copyts", "-i", file("fragment.ts"),
    ...maps, "-fps_mode", "passthrough", "-enc_time_base:v", "1/90000", "-f", "framecrc", file("times"),
    ...(hasPicture ? [...columns, file("columns")] : []), ...(hasSound ? [...samples, file("samples")] : [])]);
  const times = timesIn(readFileSync(file("times"), "utf8"));
  const seen = {};
  if (existsSync(file("columns"))) {
    const light = [...readFileSync(file("columns"))];
    seen.pictures = times[0].map((time, i) => ({ time, number: numberIn(light.slice(i * kBits, (i + 1) * kBits)) }));
  }
  if (existsSync(file("samples"))) {
    const bytesOfSound = readFileSync(file("samples"));
    const sound = new Float32Array(bytesOfSound.buffer, bytesOfSound.byteOffset, bytesOfSound.length / 4);
    const [from] = times.at(-1);
    seen.sound = { from, until: from + sound.length / kFrequency, beeps: beepsIn(sound).map((i) => from + i / kFrequency) };
  }
  rmSync(folder, { recursive: true });
  return seen;
}
