// A real Kinora in the private view: an account, a share with its videos, and the service.
import { execFileSync, spawn } from "node:child_process";
import { copyFileSync, mkdirSync, mkdtempSync, utimesSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import path from "node:path";
import { createInterface } from "node:readline";

const kProgram = "/var/packages/Kinora/target/bin/kinora";
const kSettings = "/var/packages/Kinora/etc/kinora.conf";

export const kUser = "admin";
export const kPassword = "correct horse battery";

const kTimeToStart = 60_000;

function kinora(...command) {
  return execFileSync(kProgram, command, { encoding: "utf8", stdio: ["ignore", "pipe", "inherit"] });
}

function makeAccount() {
  execFileSync(kProgram, ["user", "add", "--administrator", kUser], { input: `${kPassword}\n` });
}

// A scan leaves files alone that changed just now: they may still be written.
export function settle(file) {
  const long_ago = new Date(Date.now() - 3_600_000);
  utimesSync(file, long_ago, long_ago);
}

export function put(source, file) {
  copyFileSync(source, file);
  settle(file);
}

// The same film under another title; an empty one leaves it to the file's name. Further options go to ffmpeg.
export function retitle(source, title, file, { repeat = 0, options = [] } = {}) {
  const input = ["-stream_loop", String(repeat), "-i", source];
  const output = ["-c", "copy", "-metadata", `title=${title}`, ...options, `file:${file}`];
  execFileSync("ffmpeg", ["-nostdin", "-v", "error", ...input, ...output]);
  settle(file);
}

// A secret that signs a browser in once.
export function makeWelcome() {
  return kinora("user", "welcome", kUser).trim();
}

// fill(folder) puts the videos there; settings are those that differ from the defaults. Answers with the service's
// address, its process, and the share's folder.
export async function startKinora(fill, settings = {}) {
  const lines = Object.entries(settings).map(([name, value]) => `${name}="${value}"\n`);
  mkdirSync(path.dirname(kSettings), { recursive: true });
  writeFileSync(kSettings, lines.join(""));
  const folder = path.join(mkdtempSync(path.join(tmpdir(), "share-")), "Films");
  mkdirSync(folder);
  fill(folder);
  makeAccount();
  kinora("share", "add", folder);
  kinora("scan");
  const service = spawn(kProgram, ["serve", "--port", "0"], { stdio: ["ignore", "pipe", "inherit"] });
  const origin = await readyAt(service);
  return { origin, folder, pid: service.pid, rescan: () => kinora("scan"), stop: () => stop(service) };
}

function readyAt(service) {
  return new Promise((resolve, reject) => {
    const late = setTimeout(() => reject(new Error("Kinora does not start in time")), kTimeToStart);
    service.once("exit", (status) => reject(new Error(`Kinora ended with ${status}`)));
    createInterface({ input: service.stdout }).on("line", (line) => {
      const ready = /^Kinora is ready: (http:\/\/[^/]+)/.exec(line);
      if (!ready) return;
      clearTimeout(late);
      resolve(ready[1]);
    });
  });
}

function stop(service) {
  return new Promise((resolve) => {
    service.once("exit", resolve);
    service.kill("SIGTERM");
  });
}
