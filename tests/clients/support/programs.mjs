// Players that are started by their command line. What they complain about fails the test.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { kKeysEvery } from "./films.mjs";

const kTimeToEnd = 300_000;

// Standard output of a program that ends well and without a word.
export async function run(program, options) {
  const child = spawn(program, options, { stdio: ["ignore", "pipe", "pipe"], timeout: kTimeToEnd });
  const said = { stdout: [], stderr: [] };
  for (const stream of Object.keys(said)) child[stream].on("data", (bytes) => said[stream].push(bytes));
  const [status, signal] = await new Promise((resolve, reject) => {
    child.on("error", reject);
    child.on("close", (...end) => resolve(end));
  });
  const complaints = Buffer.concat(said.stderr).toString();
  assert.equal(status, 0, `${program} ended with ${signal ?? status}: ${complaints}`);
  assert.equal(complaints, "");
  return Buffer.concat(said.stdout);
}

const ffmpeg = (...options) => run("ffmpeg", ["-nostdin", "-v", "error", ...options]);

// The decoded frames of one stream: times in seconds, in the order in which they come.
async function frames(input, stream, output = []) {
  const text = String(await ffmpeg(...input, "-map", stream, ...output, "-f", "framecrc", "-"));
  const base = /^#tb 0: (\d+)\/(\d+)$/m.exec(text);
  const lines = text.split("\n").filter((line) => /^0,/.test(line));
  return lines.map((line) => (Number(line.split(",")[2]) * Number(base[1])) / Number(base[2]));
}

const summary = (times) => ({
  count: times.length, first: times[0], last: times.at(-1),
  backward: times.filter((time, i) => i > 0 && time < times[i - 1]).length,
});

// Hertz of a second of sound in the middle of a film: a tone crosses zero twice in each period.
async function pitch(master, track) {
  const output = ["-map", `0:a:${track}`, "-ss", "10", "-t", "1", "-ac", "1", "-ar", "48000", "-f", "s16le", "-"];
  const bytes = await ffmpeg("-i", master, ...output);
  let crossings = 0;
  let below = false;
  for (let i = 0; i + 1 < bytes.length; i += 2) {
    const sample = bytes.readInt16LE(i);
    if (sample === 0 || sample < 0 === below) continue;
    below = !below;
    crossings += 1;
  }
  return crossings / 2;
}

// smooth: it plays Smooth Streaming. landing: seconds by which a seek may miss. ffmpeg counts by decoding times there: where pictures are reordered it
// takes the next key picture instead of the one before.
const kFfmpeg = {
  name: "ffmpeg",
  smooth: false,
  landing: kKeysEvery,
  async play(master) {
    const [picture, sound] = await Promise.all(["0:v:0", "0:a:0"].map((stream) => frames(["-i", master], stream)));
    return { picture: summary(picture), sound: summary(sound) };
  },
  async seek(master, places) {
    const seeks = [];
    for (const wanted of places) {
      const input = ["-copyts", "-start_at_zero", "-ss", String(wanted), "-i", master];
      seeks.push({ wanted, picture: summary(await frames(input, "0:v:0", ["-frames:v", "8"])) });
    }
    return seeks;
  },
  async switchSound(master) {
    return [{ pitch: await pitch(master, 0) }, { pitch: await pitch(master, 1) }];
  },
};

const gstreamer = async (...options) => JSON.parse(await run(process.env.KINORA_GST_PLAYER, options));

const kGStreamer = {
  name: "GStreamer",
  smooth: true,
  landing: 0.5,
  play: (master) => gstreamer("play", master),
  seek: (master, places) => gstreamer("seek", master, ...places.map(String)),
  switchSound: (master) => gstreamer("switch", master),
};

export const kPrograms = [kFfmpeg, kGStreamer];
