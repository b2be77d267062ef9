// The films that the players play, made by ffmpeg: 24 seconds each, small, with a picture that runs and a tone.
import { execFileSync } from "node:child_process";
import path from "node:path";
import { settle } from "../../browser/support/kinora.mjs";

export const kSeconds = 24;

const kPicture = ["-f", "lavfi", "-i", `testsrc2=size=320x180:rate=25:duration=${kSeconds}`];
const tone = (frequency) => ["-f", "lavfi", "-i", `sine=frequency=${frequency}:sample_rate=48000:duration=${kSeconds}`];
// No whole number of these makes a fragment of a whole number of seconds.
export const kKeysEvery = 2.2;
const kH264 = ["-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-g", String(Math.round(kKeysEvery * 25)), "-sc_threshold", "0"];
const kMpeg2 = ["-c:v", "mpeg2video", "-q:v", "6", "-g", "12", "-bf", "2"];
const kTwoTracks = ["-map", "0", "-map", "1", "-map", "2"];
const kNames = ["-metadata:s:a:0", "language=eng", "-metadata:s:a:0", "title=Original",
  "-metadata:s:a:1", "language=ger", "-metadata:s:a:1", "title=Deutsch"];

export const kTones = [440, 880]; // Hertz, of the first and the second track

// Of the copied film with two tracks the second is encoded: tracks of one film go out in one codec.
const kFilms = {
  "copied picture.mkv": [...kPicture, ...tone(kTones[0]), ...kH264, "-c:a", "ac3", "-b:a", "96k"],
  "copied.mp4": [...kPicture, ...tone(kTones[0]), ...kH264, "-bf", "2", "-c:a", "aac", "-movflags", "+faststart"],
  "copied with MP3.mkv": [...kPicture, ...tone(kTones[0]), ...kH264, "-c:a", "libmp3lame"],
  "encoded.avi": [...kPicture, ...tone(kTones[0]), ...kMpeg2, "-c:a", "libmp3lame"],
  "copied with two tracks.mkv": [...kPicture, ...tone(kTones[0]), ...tone(kTones[1]), ...kTwoTracks, ...kH264, "-c:a:0", "aac", "-c:a:1", "libmp3lame", "-ac", "2", ...kNames],
  "encoded with two tracks.mkv": [...kPicture, ...tone(kTones[0]), ...tone(kTones[1]), ...kTwoTracks, ...kMpeg2, "-c:a", "ac3", ...kNames],
};

// film, the format that it is opened in, and the tracks' names where there are several
export const kPlayed = [
  { film: "copied picture.mkv", format: "hls_remux" },
  { film: "copied.mp4", format: "hls_remux" },
  { film: "encoded.avi", format: "hls" },
];
// Those that are played through and nothing else.
export const kPlayedThrough = [...kPlayed, { film: "copied with MP3.mkv", format: "hls_remux" }];
export const kTracks = [{ name: "Original", language: "en" }, { name: "Deutsch", language: "de" }];
export const kSwitched = [
  { film: "copied with two tracks.mkv", format: "hls_remux" },
  { film: "encoded with two tracks.mkv", format: "hls" },
];

// By Smooth Streaming, in which everything is encoded.
export const kSmooth = [
  { film: "copied.mp4", format: "ss" },
  { film: "encoded.avi", format: "ss" },
];
export const kSmoothSwitched = [{ film: "encoded with two tracks.mkv", format: "ss" }];

export function makeFilms(folder) {
  for (const [name, options] of Object.entries(kFilms)) {
    const file = path.join(folder, name);
    execFileSync("ffmpeg", ["-nostdin", "-v", "error", "-bitexact", ...options, `file:${file}`]);
    settle(file);
  }
}

// Twenty places in the film, the same ones in every run, far from the place before as often as near to it.
export function seeks() {
  let state = 20210;
  return Array.from({ length: 20 }, () => {
    state = (state * 48271) % 0x7fffffff;
    return Number(((state / 0x7fffffff) * (kSeconds - 2)).toFixed(2));
  });
}
