// A film in fragments for the stand-in, made by ffmpeg: 200 s with a clock, in three kinds that lie in a folder each.
//   muxed     picture and sound together
//   tracks    the picture alone, and two audio tracks as renditions
//   foreign   fragments that no browser can decode
import { execFileSync } from "node:child_process";
import { mkdirSync, writeFileSync } from "node:fs";
import path from "node:path";

export const kSeconds = 200;
export const kFragment = 4; // seconds

const kTracks = [["eng", "Original", "YES"], ["ger", "Kommentar", "NO"]];

function fragments(folder, name) {
  const pieces = path.join(folder, `${name}_%d.ts`);
  const rest = ["-hls_playlist_type", "vod", "-hls_segment_filename", pieces, path.join(folder, `${name}.m3u8`)];
  return ["-f", "hls", "-hls_time", String(kFragment), ...rest];
}

function master(folder, variant, renditions = []) {
  const groups = renditions.length > 0 ? ',AUDIO="sound"' : "";
  const lines = ["#EXTM3U", ...renditions, `#EXT-X-STREAM-INF:BANDWIDTH=400000${variant}${groups}`, "video.m3u8"];
  writeFileSync(path.join(folder, "master.m3u8"), `${lines.join("\n")}\n`);
}

// Answers with the folders by their kinds.
export function makeHls(folder) {
  const kinds = Object.fromEntries(["muxed", "tracks", "foreign"].map((kind) => [kind, path.join(folder, kind)]));
  for (const kind of Object.values(kinds)) mkdirSync(kind, { recursive: true });
  const inputs = ["-f", "lavfi", "-i", `testsrc2=size=320x180:rate=10:duration=${kSeconds}`];
  for (const tone of [440, 880]) inputs.push("-f", "lavfi", "-i", `sine=frequency=${tone}:sample_rate=48000:duration=${kSeconds}`);
  const source = path.join(folder, "source.mkv");
  const run = (...command) => execFileSync("ffmpeg", ["-nostdin", "-v", "error", ...command]);
  const video = ["-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-g", String(10 * kFragment), "-bf", "0"];
  run(...inputs, "-map", "0", "-map", "1", "-map", "2", ...video, "-c:a", "aac", "-b:a", "64k", source);
  run(
    "-i", source,
    "-map", "0:v", "-map", "0:a:0", "-c", "copy", ...fragments(kinds.muxed, "video"),
    "-map", "0:v", "-c", "copy", ...fragments(kinds.tracks, "video"),
    ...kTracks.flatMap((_, index) => ["-map", `0:a:${index}`, "-c", "copy", ...fragments(kinds.tracks, `audio_${index}`)]),
  );
  run("-i", source, "-t", "12", "-map", "0:v", "-c:v", "mpeg2video", "-r", "25", "-g", "100", ...fragments(kinds.foreign, "video"));
  master(kinds.muxed, ',CODECS="avc1.42c00d,mp4a.40.2"');
  master(kinds.foreign, "");
  const rendition = ([language, name, first], index) =>
    `#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID="sound",NAME="${name}",LANGUAGE="${language}",DEFAULT=${first},AUTOSELECT=YES,URI="audio_${index}.m3u8"`;
  master(kinds.tracks, ',CODECS="avc1.42c00d,mp4a.40.2"', kTracks.map(rendition));
  return kinds;
}
