// A film as Smooth Streaming for the stand-in, made by ffmpeg: 200 s with a clock, and two audio tracks. ffmpeg writes a
// file for each chunk, but lists several audio tracks as qualities of one; the manifest is written here, as the server
// does it.
import { execFileSync } from "node:child_process";
import { readdirSync, readFileSync, writeFileSync } from "node:fs";
import path from "node:path";

export const kSeconds = 200;
export const kChunk = 4; // seconds

const kRate = 10;
const kVideo = 400_000; // bits a second, which tell the tracks apart
const kAudio = [64_000, 96_000];
const kLanguages = ["eng", "ger"];

function encode(folder) {
  const inputs = ["-f", "lavfi", "-i", `testsrc2=size=192x108:rate=${kRate}:duration=${kSeconds}`];
  for (const tone of [440, 880]) inputs.push("-f", "lavfi", "-i", `sine=frequency=${tone}:sample_rate=48000:duration=${kSeconds}`);
  const video = ["-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-g", String(kRate * kChunk), "-bf", "0", "-b:v", String(kVideo)];
  const audio = kAudio.flatMap((bits, track) => [`-b:a:${track}`, String(bits)]);
  const maps = ["-map", "0", "-map", "1", "-map", "2"];
  execFileSync("ffmpeg", ["-nostdin", "-v", "error", ...inputs, ...maps, ...video, "-c:a", "aac", ...audio, "-f", "smoothstreaming", "-min_frag_duration", "3000000", folder]);
}

// The chunks of a track, by the names of their files: when they begin, and for how long they last.
function chunksOf(folder, bits, kind, end) {
  const names = readdirSync(path.join(folder, `QualityLevels(${bits})`));
  const starts = names.flatMap((name) => new RegExp(`^Fragments\\(${kind}=(\\d+)\\)$`).exec(name)?.[1] ?? []);
  const sorted = starts.map(Number).sort((one, other) => one - other);
  return sorted.map((start, i) => `<c t="${start}" d="${(sorted[i + 1] ?? end) - start}"/>`).join("\n");
}

// Answers with the folder: "Manifest", and the chunks below the addresses that it gives them.
export function makeSmooth(folder) {
  encode(folder);
  const made = readFileSync(path.join(folder, "Manifest"), "utf8");
  const end = Number(/Duration="(\d+)"/.exec(made)[1]);
  const level = (bits) => new RegExp(`<QualityLevel [^>]*Bitrate="${bits}"[^>]*/>`).exec(made)[0].replace(/Index="\d+"/, 'Index="0"');
  const index = (name, kind, bits, more) =>
    `<StreamIndex Type="${kind}" Name="${name}"${more} QualityLevels="1" Url="QualityLevels({bitrate})/Fragments(${name}={start time})">\n` +
    `${level(bits)}\n${chunksOf(folder, bits, kind, end)}\n</StreamIndex>\n`;
  const sounds = kAudio.map((bits, track) => index(`audio_${track}`, "audio", bits, ` Language="${kLanguages[track]}"`));
  const head = `<SmoothStreamingMedia MajorVersion="2" MinorVersion="0" TimeScale="10000000" Duration="${end}">\n`;
  writeFileSync(path.join(folder, "Manifest"), `${head}${index("video", "video", kVideo, "")}${sounds.join("")}</SmoothStreamingMedia>\n`);
  return folder;
}

// The file behind an address below the manifest's; nothing where there is none.
export function smoothFile(folder, address) {
  if (address === "Manifest") return path.join(folder, address);
  const [, level, kind, start] = /^(QualityLevels\(\d+\))\/Fragments\((video|audio)(?:_\d+)?=(\d+)\)$/.exec(address) ?? [];
  return level && path.join(folder, level, `Fragments(${kind}=${start})`);
}
