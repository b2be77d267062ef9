// A film as WebM for the stand-in: 200 s, and ffmpeg sends it live from wherever it is asked for, which is at the key
// picture before.
import { execFileSync, spawn } from "node:child_process";
import path from "node:path";

export const kSeconds = 200;
export const kKeysEvery = 2; // seconds

const kRate = 10;
const kFaster = 4; // than the film runs; what is not sent yet can be cut off

export function makeWebm(folder) {
  const file = path.join(folder, "film.webm");
  const inputs = ["-f", "lavfi", "-i", `testsrc2=size=192x108:rate=${kRate}:duration=${kSeconds}`,
    "-f", "lavfi", "-i", `sine=frequency=440:sample_rate=48000:duration=${kSeconds}`];
  const video = ["-c:v", "libvpx", "-deadline", "realtime", "-cpu-used", "16", "-b:v", "150k", "-g", String(kRate * kKeysEvery)];
  execFileSync("ffmpeg", ["-nostdin", "-v", "error", ...inputs, ...video, "-c:a", "libopus", "-b:a", "32k", file]);
  return file;
}

// Answers with the rest of the film; what it is made with ends with the answer. No ranges, no length.
export function sendWebm(file, seek, response) {
  const input = ["-readrate", String(kFaster), "-ss", String(seek), "-copyts", "-i", file];
  const output = ["-c", "copy", "-f", "webm", "-live", "1", "-cluster_time_limit", "1000", "-flush_packets", "1", "pipe:1"];
  const maker = spawn("ffmpeg", ["-nostdin", "-v", "quiet", ...input, ...output], { stdio: ["ignore", "pipe", "ignore"] });
  response.writeHead(200, { "Content-Type": "video/webm", "Cache-Control": "no-store" });
  response.on("close", () => maker.kill("SIGKILL"));
  response.on("error", () => undefined);
  maker.stdout.on("error", () => undefined);
  maker.stdout.pipe(response);
}
