// A film of every codec in every container in which ffmpeg writes it, eight seconds each. Two tables:
//   pictures  video codecs, each with the container's usual sound
//   sounds    audio codecs, each beside H.264
import { execFile } from "node:child_process";
import { rmSync } from "node:fs";
import path from "node:path";
import { promisify } from "node:util";
import { settle } from "../../browser/support/kinora.mjs";

const run = promisify(execFile);

export const kSeconds = 8; // long enough to be cut
export const kRate = 25;
const kFewestSounds = 40; // frames; no codec here has longer ones than a fifth of a second

// The file's suffix, what ffmpeg calls it, the usual sound.
const kContainers = {
  MP4: { suffix: "mp4", muxer: ["mp4"], sound: "AAC" },
  MOV: { suffix: "mov", muxer: ["mov"], sound: "AAC" },
  "3GP": { suffix: "3gp", muxer: ["3gp"], sound: "AAC" },
  MKV: { suffix: "mkv", muxer: ["matroska"], sound: "AAC" },
  WebM: { suffix: "webm", muxer: ["webm"], sound: "Opus" },
  AVI: { suffix: "avi", muxer: ["avi"], sound: "MP3" },
  "MPEG-TS": { suffix: "ts", muxer: ["mpegts"], sound: "MP2" },
  M2TS: { suffix: "m2ts", muxer: ["mpegts", "-mpegts_m2ts_mode", "1"], sound: "AC-3" },
  "MPEG-PS": { suffix: "mpg", muxer: ["vob"], sound: "MP2" },
  FLV: { suffix: "flv", muxer: ["flv"], sound: "MP3" },
  ASF: { suffix: "wmv", muxer: ["asf"], sound: "WMA" },
  Ogg: { suffix: "ogv", muxer: ["ogg"], sound: "Vorbis" },
  MXF: { suffix: "mxf", muxer: ["mxf"], sound: "PCM" },
  WTV: { suffix: "wtv", muxer: ["wtv"], sound: "MP2" },
};

const kFields = "tinterlace=interleave_top,fieldorder=tff"; // halves the rate
const kTwoFields = ["-flags", "+ildct+ilme", "-vf", kFields];
const codec = (encoder, ...more) => ["-c:v", encoder, ...more];
const plain = (encoder, ...more) => codec(encoder, "-q:v", "5", ...more);
const x264 = (format, ...more) =>
  codec("libx264", "-preset", "ultrafast", "-pix_fmt", format, "-g", "50", "-sc_threshold", "0", ...more);
const kClosedGroups = "log-level=none:keyint=50:min-keyint=50:scenecut=0:open-gop=0";
const x265 = (format) => codec("libx265", "-preset", "ultrafast", "-pix_fmt", format, "-x265-params", kClosedGroups);
const vpx = (encoder, speed, ...more) => codec(encoder, "-deadline", "realtime", "-cpu-used", speed, "-b:v", "500k", ...more);

const kPictures = {
  "H.264 baseline": x264("yuv420p", "-profile:v", "baseline"),
  "H.264 main": x264("yuv420p", "-profile:v", "main", "-bf", "2"),
  "H.264 high": x264("yuv420p", "-profile:v", "high", "-bf", "2", "-x264-params", "8x8dct=1:cabac=1"),
  "H.264 interlaced": x264("yuv420p", ...kTwoFields),
  "H.264 10 bits": x264("yuv420p10le"),
  "H.264 4:2:2": x264("yuv422p"),
  "H.264 4:4:4": x264("yuv444p"),
  HEVC: x265("yuv420p"),
  "HEVC 10 bits": x265("yuv420p10le"),
  "HEVC 4:2:2 10 bits": x265("yuv422p10le"),
  AV1: codec("libaom-av1", "-usage", "realtime", "-cpu-used", "8", "-b:v", "500k"),
  VP9: vpx("libvpx-vp9", "8"),
  "VP9 10 bits": vpx("libvpx-vp9", "8", "-profile:v", "2", "-pix_fmt", "yuv420p10le"),
  VP8: vpx("libvpx", "16"),
  "MPEG-2": plain("mpeg2video", "-bf", "2"),
  "MPEG-2 interlaced": plain("mpeg2video", "-bf", "2", ...kTwoFields),
  "MPEG-2 4:2:2": plain("mpeg2video", "-pix_fmt", "yuv422p"),
  "MPEG-1": plain("mpeg1video", "-bf", "2"),
  "MPEG-4 simple": plain("mpeg4"),
  "MPEG-4 advanced simple": plain("mpeg4", "-bf", "2", "-flags", "+qpel+mv4"),
  "MS MPEG-4 v2": plain("msmpeg4v2"),
  "MS MPEG-4 v3": plain("msmpeg4"),
  "H.263": plain("h263", "-s", "352x288"),
  "Sorenson Spark": plain("flv"),
  "WMV 7": plain("wmv1"),
  "WMV 8": plain("wmv2"),
  Theora: plain("libtheora"),
  MJPEG: plain("mjpeg", "-pix_fmt", "yuvj420p"),
  DV: codec("dvvideo", "-s", "720x576", "-pix_fmt", "yuv420p"),
  ProRes: codec("prores_ks", "-pix_fmt", "yuv422p10le"),
  "DNxHR": codec("dnxhd", "-profile:v", "dnxhr_lb", "-pix_fmt", "yuv422p"),
  FFV1: codec("ffv1"),
};

// The options of each track.
const kSounds = {
  AAC: [["aac"]],
  "AAC 5.1": [["aac", "-ac", "6"]],
  MP3: [["libmp3lame"]],
  MP2: [["mp2"]],
  "AC-3": [["ac3"]],
  "AC-3 5.1": [["ac3", "-ac", "6"]],
  "E-AC-3": [["eac3"]],
  DTS: [["dca", "-strict", "experimental"]],
  TrueHD: [["truehd", "-strict", "experimental"]],
  Opus: [["libopus"]],
  Vorbis: [["libvorbis"]],
  FLAC: [["flac", "-strict", "experimental"]],
  ALAC: [["alac"]],
  PCM: [["pcm_s16le"]],
  "PCM 24 bits": [["pcm_s24le"]],
  "PCM big-endian": [["pcm_s16be"]],
  "A-law": [["pcm_alaw"]],
  ADPCM: [["adpcm_ms"]],
  WMA: [["wmav2"]],
  "AAC and AC-3": [["aac"], ["ac3"]],
  "AC-3 and MP3": [["ac3"], ["libmp3lame"]],
  none: [],
};

const kSoundColumns = Object.keys(kContainers).filter((name) => name !== "WebM" && name !== "Ogg");

export const kTables = {
  pictures: { rows: Object.keys(kPictures), columns: Object.keys(kContainers) },
  sounds: { rows: Object.keys(kSounds), columns: kSoundColumns },
};

export function allCells() {
  return Object.entries(kTables).flatMap(([table, { rows, columns }]) =>
    rows.flatMap((row) => columns.map((column) => ({ table, row, column }))));
}

const word = (text) => text.toLowerCase().replaceAll(/[^a-z0-9]+/g, "-");
export const fileOf = ({ table, row, column }) => `${table}-${word(row)}-${word(column)}.${kContainers[column].suffix}`;
const soundsOf = ({ table, row, column }) => kSounds[table === "pictures" ? kContainers[column].sound : row];
export const countSounds = (cell) => soundsOf(cell).length;

// What ffprobe sees in a file or stream: [{ codec_type, codec_name }].
export async function tracksOf(input) {
  const entries = ["-show_entries", "stream=codec_type,codec_name", "-of", "json"];
  return JSON.parse((await run("ffprobe", ["-v", "error", ...entries, input])).stdout).streams;
}

// The times of the frames of each stream, in seconds, out of what ffmpeg's framecrc writes.
export function timesIn(text) {
  const bases = [...text.matchAll(/^#tb \d+: (\d+)\/(\d+)$/gm)].map(([, top, bottom]) => Number(top) / Number(bottom));
  const times = bases.map(() => []);
  for (const line of text.split("\n").filter((one) => /^\d/.test(one))) {
    const [stream, , time] = line.split(",").map(Number);
    times[stream].push(time * bases[stream]);
  }
  return times;
}

// Some muxers write whatever they are given; what ffmpeg does not read again is no film.
async function isFilm(cell, file) {
  const known = (await tracksOf(file)).filter(({ codec_name }) => codec_name !== undefined && codec_name !== "unknown");
  const count = (type) => known.filter(({ codec_type }) => codec_type === type).length;
  if (count("video") !== 1 || count("audio") !== countSounds(cell)) return false;
  const output = ["-map", "0:V", "-map", "0:a?", "-f", "framecrc", "-"];
  const { stdout } = await run("ffmpeg", ["-nostdin", "-v", "error", "-xerror", "-i", file, ...output]);
  const times = timesIn(stdout);
  const sounds = times.slice(1);
  return times[0].length >= kSeconds * kRate - 2 &&
    sounds.every((sound) => sound.length >= kFewestSounds && Math.abs(sound.at(-1) - kSeconds) < 1);
}

// false: ffmpeg makes no such film.
async function makeFilm(cell, folder) {
  const picture = cell.table === "pictures" ? kPictures[cell.row] : kPictures["H.264 main"];
  const rate = picture.includes(kFields) ? 2 * kRate : kRate;
  const input = ["-f", "lavfi", "-i", `testsrc2=size=256x144:rate=${rate}:duration=${kSeconds}`,
    "-f", "lavfi", "-i", `sine=frequency=440:sample_rate=48000:duration=${kSeconds}`];
  const sounds = soundsOf(cell).flatMap(([encoder, ...more], i) => {
    const options = more.flatMap((option, k) => (k % 2 === 0 ? `${option}:a:${i}` : option));
    return ["-map", "1", `-c:a:${i}`, encoder, ...options];
  });
  const file = path.join(folder, fileOf(cell));
  const { muxer } = kContainers[cell.column];
  const output = ["-map", "0", ...picture, ...sounds, "-f", ...muxer, `file:${file}`];
  const made = await run("ffmpeg", ["-nostdin", "-v", "error", "-y", "-bitexact", ...input, ...output])
    .then(() => isFilm(cell, file)).catch(() => false);
  if (made) settle(file);
  else rmSync(file, { force: true });
  return made;
}

// `work` on each of them, two at a time.
export async function forEach(cells, work) {
  const left = [...cells];
  const worker = async () => {
    for (let cell = left.shift(); cell; cell = left.shift()) await work(cell);
  };
  await Promise.all([worker(), worker()]);
}

// The cells of which there is a film now.
export async function makeFormatFilms(cells, folder) {
  const made = new Set();
  await forEach(cells, async (cell) => {
    if (await makeFilm(cell, folder)) made.add(cell);
  });
  return cells.filter((cell) => made.has(cell));
}
