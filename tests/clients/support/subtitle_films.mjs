// Films that tell their own time (clock_films.mjs) with subtitles that tell theirs: one cue for each half second, whose
// text is its number, and one over the edge of two windows.
import { execFileSync } from "node:child_process";
import { rmSync, writeFileSync } from "node:fs";
import path from "node:path";
import { settle } from "../../browser/support/kinora.mjs";

export const kSeconds = 40; // two windows
export const kBits = 10;
export const kCue = 0.5; // seconds
export const kOverTheEdge = { from: 29.2, to: 30.8, text: "over the edge" };

const kRate = 25;
const bits = "if(mod(floor(N/pow(2,floor(X/16))),2),220,30)";
const kPicture = ["-f", "lavfi", "-i", `color=size=${16 * kBits}x48:rate=${kRate}:duration=${kSeconds},geq=lum='${bits}':cb=128:cr=128`];
const kTone = ["-f", "lavfi", "-i", `sine=frequency=440:sample_rate=48000:duration=${kSeconds}`];
const kCopied = ["-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-g", "103", "-keyint_min", "103", "-sc_threshold", "0", "-c:a", "aac"];
const kEncoded = ["-c:v", "mpeg2video", "-q:v", "3", "-g", "12", "-bf", "2", "-c:a", "mp2"];

// off: seconds by which a subtitle may be off. What ffmpeg puts into a transport stream begins at 1.4 seconds.
export const kSubtitledFilms = [
  { film: "copied.mkv", format: "hls_remux", inside: true, rate: kRate, off: 0.1, options: kCopied },
  { film: "encoded from 1.4 s.ts", format: "hls", inside: false, rate: kRate, off: 1 / kRate, options: kEncoded },
];

const clock = (seconds) => new Date(Math.round(seconds * 1000)).toISOString().slice(11, 23).replace(".", ",");

export const kCues = [
  // What ends within the first second is none in a window.
  ...Array.from({ length: kSeconds / kCue }, (unused, i) => ({ from: i * kCue, to: (i + 1) * kCue, text: String(i) })).slice(2),
  kOverTheEdge,
].sort((one, other) => one.from - other.from);

const kSubRip = kCues.map(({ from, to, text }, i) => `${i + 1}\n${clock(from)} --> ${clock(to)}\n${text}\n`).join("\n");

export function makeSubtitledFilms(folder) {
  for (const { film, inside, options } of kSubtitledFilms) {
    const file = path.join(folder, film);
    const text = path.join(folder, `${path.parse(film).name}.en.srt`);
    writeFileSync(text, kSubRip);
    const track = inside ? ["-i", `file:${text}`, "-map", "0", "-map", "1", "-map", "2", "-c:s", "srt", "-metadata:s:s", "language=eng"] : [];
    const inputs = [...kPicture, ...kTone, ...track];
    execFileSync("ffmpeg", ["-nostdin", "-v", "error", "-bitexact", ...inputs, ...options, `file:${file}`]);
    settle(file);
    if (inside) rmSync(text);
    else settle(text);
  }
}
