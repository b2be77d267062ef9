// A Kinora with the films, watched over its web API alone.
import assert from "node:assert/strict";
import { readdirSync, readlinkSync } from "node:fs";
import path from "node:path";
import { kPassword, kUser, startKinora } from "../../browser/support/kinora.mjs";

const kStreams = {
  raw: "/tmp/Kinora/RAW", hls: "/tmp/Kinora/HLS", hls_remux: "/tmp/Kinora/HLS", ss: "/tmp/Kinora/SS", webm_remux: "/tmp/Kinora/WEBM",
};
const kTimeToGo = 60_000;

export class Refused extends Error {
  constructor({ code, message }) {
    super(`${code} ${message}`);
    this.code = code;
  }
}

// fill(folder) puts the films there; settings are those that differ from the defaults.
export async function openHouse(fill, settings = {}) {
  const kinora = await startKinora(fill, settings);
  const call = (api, method, parameters, headers = {}) => {
    const body = new URLSearchParams({ version: 1, api: `CRVN.Kinora2.${api}`, method, ...parameters });
    return ask(`${kinora.origin}/webapi/entry.cgi`, { method: "POST", body, headers });
  };
  const { sid, token } = await call("Session", "sign_in", { user: kUser, password: kPassword });
  const session = { _sid: sid, CrvnToken: token };
  const { videos } = await call("Catalog", "list", { ...session, limit: 1000 });
  const film_ids = new Map(videos.map(({ file, id }) => [file, id]));

  // Players of Smooth Streaming cut the manifest's address at its last slash and append those of the chunks.
  function addressOf(stream) {
    if (stream.format === "ss") return `${kinora.origin}/webapi/entry.cgi/ss/${sid}/${stream.id}/Manifest`;
    const address = new URLSearchParams({ version: 1, api: "CRVN.Kinora2.Stream", method: "stream", ...stream, _sid: sid });
    return `${kinora.origin}/webapi/entry.cgi?${address}`;
  }

  // Opens a film, perhaps with a subtitle; the stream's address (of HLS, its master playlist) and what its folder leads to come with it.
  async function open({ film, format, subtitle_id = "" }) {
    const id = film_ids.get(film);
    assert.ok(id, `${film} is in the catalog`);
    const opened = await call("Stream", "open", { ...session, id, format, subtitle_id });
    if (format !== "auto") assert.equal(opened.format, format);
    const stream = { id: opened.stream_id, format: opened.format };
    const link = path.join(kStreams[opened.format], opened.stream_id);
    return { ...stream, link, folder: readlinkSync(link), master: addressOf(stream) };
  }

  // Closes a stream; nothing of it is left.
  async function close({ id, format, link, folder }) {
    await call("Stream", "close", { ...session, id, format });
    const left = () => [...standing(link), ...standing(folder), ...workersIn(folder)];
    await until(() => left().length === 0, () => `left of the stream: ${left().join(", ")}`);
  }

  const has = (film) => film_ids.has(film);
  return { origin: kinora.origin, folder: kinora.folder, has, open, close, stop: kinora.stop };
}

async function ask(url, request) {
  const answer = await (await fetch(url, request)).json();
  if (answer.error) throw new Refused(answer.error);
  return answer.result;
}

const standing = (file) => names(path.dirname(file)).includes(path.basename(file)) ? [file] : [];

const workersIn = (folder) =>
  names("/proc").filter((pid) => /^[0-9]+$/.test(pid) && holds(pid, folder)).map((pid) => `process ${pid}`);

function holds(pid, folder) {
  const open = names(`/proc/${pid}/fd`).map((number) => `/proc/${pid}/fd/${number}`);
  return [`/proc/${pid}/cwd`, ...open].some((link) => target(link).startsWith(folder));
}

// What vanishes while it is looked at is not there, and other users' processes are none of ours.
function names(folder) {
  return unlessGone(() => readdirSync(folder), []);
}
function target(link) {
  return unlessGone(() => readlinkSync(link), "");
}
function unlessGone(look, otherwise) {
  try {
    return look();
  } catch (error) {
    if (["ENOENT", "ESRCH", "EACCES", "EPERM", "ENOTDIR"].includes(error.code)) return otherwise;
    throw error;
  }
}

export async function until(condition, complaint) {
  const deadline = Date.now() + kTimeToGo;
  while (!(await condition())) {
    assert.ok(Date.now() < deadline, complaint());
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}
