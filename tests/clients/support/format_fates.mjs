// What becomes of films when they are opened, seen by playing every stream from beginning to end. A fate reads
// "**raw**, remux, hls": the formats that open (raw opens for every film and is named only where it is the choice), the one
// that is chosen for "auto" in bold. "remux (aac)" tells what the sound is turned into.
import { createHash } from "node:crypto";
import { mkdtempSync, readFileSync, renameSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import path from "node:path";
import { countSounds, fileOf, forEach, kRate, kSeconds, makeFormatFilms, tracksOf } from "./format_films.mjs";
import { openHouse, Refused } from "./house.mjs";
import { run } from "./programs.mjs";

const kFormats = { raw: "raw", hls_remux: "remux", hls: "hls" };
const kFrameToSpare = 2 / kRate;
const kLastPicture = 0.25; // seconds

// undefined: refused.
async function tryToOpen(house, film, format) {
  try {
    return await house.open({ film, format });
  } catch (refused) {
    if (refused instanceof Refused) return undefined;
    throw refused;
  }
}

// Decodes all of it: how many pictures there are, from when to when, and how many seconds of each sound.
async function play(master, sounds) {
  const maps = ["-map", "0:v:0", ...Array.from({ length: sounds }, (unused, i) => ["-map", `0:a:${i}`]).flat()];
  const output = ["-fps_mode", "passthrough", "-f", "framecrc", "-"];
  const text = String(await run("ffmpeg", ["-nostdin", "-v", "error", "-xerror", "-i", master, ...maps, ...output]));
  const bases = [...text.matchAll(/^#tb \d+: (\d+)\/(\d+)$/gm)].map(([, top, bottom]) => Number(top) / Number(bottom));
  const lengths = bases.map(() => 0);
  const times = [];
  for (const line of text.split("\n").filter((one) => /^\d/.test(one))) {
    const [stream, , time, duration] = line.split(",").map(Number);
    if (stream === 0) times.push(time * bases[0]);
    else lengths[stream] += duration * bases[stream];
  }
  return { pictures: times.length, lasts: times.at(-1) - times[0], seconds: lengths.slice(1) };
}

const named = (tracks, type) => tracks.filter(({ codec_type }) => codec_type === type).map(({ codec_name }) => codec_name);
const distinct = (names) => [...new Set(names)].sort();

// What is wrong with a stream in fragments; empty when nothing is. The last picture stays as long as the container says.
function troubleWith({ pictures, lasts, seconds }, sounds) {
  if (pictures < kSeconds * kRate - 2 || Math.abs(lasts - kSeconds) > kLastPicture) return `${pictures} pictures in ${lasts} s`;
  const short = seconds.find((length) => Math.abs(length - kSeconds) > kFrameToSpare + 0.1);
  if (short !== undefined) return `${short} s of sound`;
  return seconds.length === sounds ? "" : "a sound is missing";
}

async function fateOfFragments(house, stream, cell) {
  const trouble = troubleWith(await play(stream.master, countSounds(cell)), countSounds(cell));
  const name = kFormats[stream.format];
  if (trouble) return `${name}, broken: ${trouble}`;
  const [source, sent] = await Promise.all([tracksOf(path.join(house.folder, fileOf(cell))), tracksOf(stream.master)]);
  const sounds = distinct(named(sent, "audio"));
  return String(sounds) === String(distinct(named(source, "audio"))) ? name : `${name} (${sounds.join(", ")})`;
}

const digest = (bytes) => createHash("sha256").update(bytes).digest("hex");

async function fateOfRaw(house, stream, cell) {
  const sent = Buffer.from(await (await fetch(stream.master)).arrayBuffer());
  return digest(sent) === digest(readFileSync(path.join(house.folder, fileOf(cell)))) ? "raw" : "raw, broken: other bytes";
}

async function withStream(house, cell, format, use) {
  const stream = await tryToOpen(house, fileOf(cell), format);
  if (!stream) return undefined;
  try {
    return await use(stream);
  } catch (broken) {
    return `${kFormats[stream.format] ?? stream.format}, broken: ${broken.message}`;
  } finally {
    await house.close(stream);
  }
}

async function fateOf(house, cell) {
  if (!house.has(fileOf(cell))) return "no film";
  const chosen = await withStream(house, cell, "auto", async ({ format }) => format);
  const fates = [];
  for (const format of Object.keys(kFormats)) {
    const judge = format === "raw" ? fateOfRaw : fateOfFragments;
    const fate = await withStream(house, cell, format, (stream) => judge(house, stream, cell));
    if (fate === undefined || (format === "raw" && fate === "raw" && chosen !== "raw")) continue;
    fates.push(format === chosen ? `**${fate}**` : fate);
  }
  return chosen === undefined || chosen in kFormats ? fates.join(", ") || "refused" : `broken: ${chosen}`;
}

// By the films' file names; the cells of which ffmpeg makes no film are missing.
export async function findFates(cells) {
  const folder = mkdtempSync(path.join(tmpdir(), "formats-"));
  const made = await makeFormatFilms(cells, folder);
  const house = await openHouse((share) => {
    for (const cell of made) renameSync(path.join(folder, fileOf(cell)), path.join(share, fileOf(cell)));
  });
  const fates = new Map();
  try {
    await forEach(made, async (cell) => fates.set(fileOf(cell), await fateOf(house, cell)));
  } finally {
    await house.stop();
    rmSync(folder, { recursive: true });
  }
  return fates;
}
