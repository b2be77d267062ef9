// A stand-in for the server, for states that are hard to bring about with the real one: refusals, locked films,
// ten thousand films, a scan that stands still, a server that is gone. It answers as the web API does and notes
// what it was asked.
import { createReadStream, readFileSync, statSync } from "node:fs";
import { createServer } from "node:http";
import path from "node:path";
import { pipeline } from "node:stream";
import { smoothFile } from "./smooth_media.mjs";
import { sendWebm } from "./webm_media.mjs";

const kTypes = { ".html": "text/html; charset=utf-8", ".js": "text/javascript", ".css": "text/css", ".svg": "image/svg+xml" };
const kFront = new URL("../../../packaging/lighttpd.conf", import.meta.url);
const kPolicy = /"Content-Security-Policy" => "([^"]+)"/.exec(readFileSync(kFront, "utf8"))[1];

export const kUser = "admin";
export const kPassword = "correct horse";
export const kIdle = {
  running: false, found: 0, looked_at: 0, to_look_at: 0, added: 0, changed: 0, moved: 0, removed: 0,
  refused: 0, waiting: 0, current: "",
};

export function film(id, own = {}) {
  return {
    id, title: `Film ${id}`, file: `film-${id}.mp4`, folder: "", share: "Films", duration: 600 + id,
    container: "mp4", video_codec: "h264", audio_codec: "aac", width: 1280, height: 720, size: 1000000 + id,
    added: 1700000000 + id, playable: true, ...own,
  };
}

// What stands between a subtitle's head and its end, as the server writes it: times and texts.
export function webvtt(...cues) {
  const time = (seconds) => new Date(seconds * 1000).toISOString().slice(11, 23);
  const lines = cues.map(([from, to, text]) => `${time(from)} --> ${time(to)}\n${text}\n`);
  return `WEBVTT\nX-TIMESTAMP-MAP=MPEGTS:90000, LOCAL:00:00:00.000\n\n${lines.join("\n")}`;
}

// Of one that the server has not got yet, or can't read.
export const kNoLines = `${webvtt().trimEnd()}\n\n00:00:00.000 --> 00:00:00.000\n`;

class Refused extends Error {
  constructor(code, message = "") {
    super(message);
    this.code = code;
  }
}

const kSorts = {
  title: (a, b) => a.title.localeCompare(b.title) || a.id - b.id,
  newest: (a, b) => b.added - a.added,
  duration: (a, b) => b.duration - a.duration,
  size: (a, b) => b.size - a.size,
};

// options: page (folder with the built page), media (a video file), films, pictures (id -> JPEG file), hls (folders
// with fragments, by their kinds; see hls_media.mjs), smooth (a folder; see smooth_media.mjs), webm (a film; see
// webm_media.mjs)
export async function startMock({ page, media, films = [], pictures = () => undefined, hls = {}, smooth, webm }) {
  const mock = {
    films, progress: { ...kIdle }, administrator: true,
    refuse: {}, // film id -> code that open answers
    refuseTrack: {}, // audio track -> code that open answers
    refuseConverting: undefined, // the same for whatever is opened to be converted
    refuseFormat: {}, // format -> code and message that open answers
    auto: () => "raw", // (film id, call) -> the format to open it in unless another one was asked for
    files: {}, // film id -> what is sent of it as it is, instead of `media`
    sounds: {}, // film id -> its audio tracks: id, title, language
    subtitles: {}, // film id -> its subtitles, as they are listed
    charsets: [["auto", "Detected automatically"], ["BIG5", "Chinese, traditional (Big5)"], ["CP1252", "Western (Windows)"]],
    lines: () => kNoLines, // (call for a subtitle) -> its WebVTT document; a number: the code that refuses it
    traditional: false, // the account's preference
    heard: {}, // stream -> the audio track that it was opened with
    kinds: { hls: "muxed", hls_remux: "muxed" }, // which fragments a format gets
    fail: () => undefined, // (call for a stream) -> the HTTP status to fail it with
    failure: { error: { code: 129, message: "" } }, // what it says then
    pins: {}, // film id -> the PIN that opens it
    welcome: "welcome-secret", sessions: new Set(), streams: new Map(), asked: [], down: false, next: 1,
    live: new Set(), // answers that are being sent as WebM
    cut() { for (const response of mock.live) response.destroy(); }, // as a line breaks
    finish() { for (const response of mock.live) response.end(); }, // as if that were all
    sweep() { mock.streams.clear(); },
    endSessions() { mock.sessions.clear(); },
    asks(method) { return mock.asked.filter((call) => call.get("method") === method); },
  };

  const account = () => ({ id: 1, name: kUser, administrator: mock.administrator });

  function signIn(call, response) {
    if (call.get("welcome")) {
      if (call.get("welcome") !== mock.welcome) throw new Refused(126);
      mock.welcome = undefined;
    } else if (call.get("user") !== kUser || call.get("password") !== kPassword) {
      throw new Refused(call.get("password") === "again" ? 127 : 126);
    }
    const sid = `sid-${mock.next++}`;
    mock.sessions.add(sid);
    response.setHeader("Set-Cookie", `kinora_session=${sid}; Path=/; HttpOnly; SameSite=Lax`);
    return { sid, token: `token-of-${sid}`, account: account() };
  }

  function list(call) {
    const words = (call.get("search") ?? "").toLowerCase().split(/\s+/).filter(Boolean);
    const found = mock.films
      .filter((one) => words.every((word) => `${one.title} ${one.folder} ${one.file}`.toLowerCase().includes(word)))
      .sort(kSorts[call.get("sort") || "title"]);
    const offset = Number(call.get("offset") ?? 0);
    return { total: found.length, videos: found.slice(offset, offset + Number(call.get("limit") ?? 100)) };
  }

  function requirePin(call) {
    const pin = mock.pins[call.get("id")];
    if (pin && call.get("pin") !== pin) throw new Refused(call.get("pin") ? 1401 : 1400);
  }

  function open(call) {
    const id = Number(call.get("id"));
    if (mock.refuse[id]) throw new Refused(mock.refuse[id]);
    const format = call.get("format");
    if (mock.refuseConverting && format === "hls") throw new Refused(mock.refuseConverting);
    if (mock.refuseFormat[format]) throw new Refused(...mock.refuseFormat[format]);
    if (mock.refuseTrack[call.get("audio_track")]) throw new Refused(mock.refuseTrack[call.get("audio_track")]);
    requirePin(call);
    const stream_id = `stream-${mock.next++}`;
    mock.streams.set(stream_id, id);
    mock.heard[stream_id] = call.get("audio_track");
    return { stream_id, format: format === "auto" ? mock.auto(id, call) : format };
  }

  function sendStream(call, request, response) {
    const id = mock.streams.get(call.get("id"));
    const format = call.get("format");
    const status = id === undefined ? 404 : mock.fail(call);
    if (status) {
      response.writeHead(status, { "Content-Type": "application/json" }).end(JSON.stringify(mock.failure));
      return;
    }
    if (format === "raw") return sendFile(request, response, mock.files[id] ?? media, "video/mp4");
    if (format === "webm_remux") return sendLive(call, request, response);
    if (format === "ss") return sendSmooth(call, request, response);
    const folder = hls[mock.kinds[format]];
    if (call.get("fragment")) return sendFile(request, response, path.join(folder, call.get("fragment")), "video/mp2t");
    const playlist = path.join(folder, `${call.get("playlist") ?? "master"}.m3u8`);
    const text = withDefault(withAddresses(readFileSync(playlist, "utf8"), call), mock.heard[call.get("id")]);
    response.writeHead(200, { "Content-Type": "application/vnd.apple.mpegurl" }).end(text);
  }

  function sendSmooth(call, request, response) {
    const address = call.get("fragment") ?? "Manifest";
    if (address !== "Manifest") return sendFile(request, response, smoothFile(smooth, address), "video/mp4");
    const manifest = readFileSync(smoothFile(smooth, address), "utf8");
    response.writeHead(200, { "Content-Type": "text/xml" }).end(withFirst(manifest, mock.heard[call.get("id")]));
  }

  function sendLive(call, request, response) {
    // A browser that lost its line asks for the rest by its bytes.
    if (!/^(bytes=0-.*)?$/.test(request.headers.range ?? "")) {
      response.writeHead(416).end();
      return;
    }
    if (request.method === "HEAD") {
      response.writeHead(200, { "Content-Type": "video/webm" }).end();
      return;
    }
    mock.live.add(response);
    response.on("close", () => mock.live.delete(response));
    sendWebm(webm, Number(call.get("seek") ?? 0), response);
  }

  function sendSubtitle(call, response) {
    requirePin(call);
    const lines = mock.lines(call);
    if (typeof lines === "number") throw new Refused(lines);
    response.writeHead(200, { "Content-Type": "text/plain" }).end(lines);
  }

  const methods = {
    "Session.sign_in": signIn,
    "Session.sign_out": (call, response, sid) => { mock.sessions.delete(sid); return {}; },
    "Session.whoami": (call, response, sid) => ({ account: account(), token: `token-of-${sid}` }),
    "Catalog.list": list,
    "Catalog.progress": () => mock.progress,
    "Catalog.rescan": () => { mock.progress = { ...mock.progress, running: true }; return { started: true }; },
    "Film.tracks": (call) => ({ video: [], audio: mock.sounds[call.get("id")] ?? [] }),
    "Subtitle.list": (call) => { requirePin(call); return { subtitles: mock.subtitles[call.get("id")] ?? [] }; },
    "Subtitle.charsets": () => ({ charsets: mock.charsets.map(([name, title]) => ({ name, title })) }),
    "Preference.get": () => ({ convert_simplified_to_traditional: mock.traditional }),
    "Preference.set": (call) => {
      mock.traditional = call.get("convert_simplified_to_traditional") === "true";
      return { convert_simplified_to_traditional: mock.traditional };
    },
    "Stream.open": open,
    "Stream.close": (call) => { mock.streams.delete(call.get("id")); return {}; },
  };
  const changing = ["Session.sign_out", "Catalog.rescan", "Preference.set", "Stream.open", "Stream.close"];

  function answerCall(call, request, response) {
    const name = `${call.get("api")?.replace("CRVN.Kinora2.", "")}.${call.get("method")}`;
    const sid = /kinora_session=([^;]+)/.exec(request.headers.cookie ?? "")?.[1];
    if (name !== "Session.sign_in" && !mock.sessions.has(sid)) throw new Refused(124);
    if (changing.includes(name) && (request.method !== "POST" || call.get("CrvnToken") !== `token-of-${sid}`)) {
      throw new Refused(125);
    }
    if (name === "Film.picture") return sendFile(request, response, pictures(Number(call.get("id"))), "image/jpeg");
    if (name === "Stream.stream") return sendStream(call, request, response);
    if (name === "Subtitle.get") return sendSubtitle(call, response);
    const result = JSON.stringify({ result: methods[name](call, response, sid) });
    response.writeHead(200, { "Content-Type": "application/json" }).end(result);
  }

  async function serve(request, response) {
    const url = new URL(request.url, "http://mock");
    if (!url.pathname.startsWith("/webapi/entry.cgi")) return sendPage(page, url.pathname, response);
    if (mock.down) return request.socket.destroy();
    let body = "";
    for await (const chunk of request) body += chunk;
    const call = smoothCall(url.pathname) ?? (request.method === "POST" ? new URLSearchParams(body) : url.searchParams);
    mock.asked.push(call);
    try {
      answerCall(call, request, response);
    } catch (error) {
      if (!(error instanceof Refused)) throw error;
      response.writeHead(400, { "Content-Type": "application/json" });
      response.end(JSON.stringify({ error: { code: error.code, message: error.message } }));
    }
  }

  const server = createServer((request, response) => void serve(request, response));
  await new Promise((resolve) => server.listen(0, "127.0.0.1", resolve));
  mock.origin = `http://127.0.0.1:${server.address().port}`;
  mock.close = () => new Promise((resolve) => { server.closeAllConnections(); server.close(resolve); });
  return mock;
}

// What an address of Smooth Streaming, which is a path, asks for.
function smoothCall(pathname) {
  const [, id, fragment] = /^\/webapi\/entry\.cgi\/ss\/-\/([^/]+)\/(.+)$/.exec(decodeURIComponent(pathname)) ?? [];
  if (id === undefined) return undefined;
  const call = new URLSearchParams({ api: "CRVN.Kinora2.Stream", version: "1", method: "stream", format: "ss", id });
  if (fragment !== "Manifest") call.set("fragment", fragment);
  return call;
}

// The addresses of a playlist's fragments and playlists, as the server writes them.
function withAddresses(playlist, call) {
  const address = (file) => {
    const own = new URLSearchParams(["api", "version", "method", "id", "format"].map((name) => [name, call.get(name)]));
    if (file.endsWith(".m3u8")) own.set("playlist", path.basename(file, ".m3u8"));
    else own.set("fragment", file);
    return `/webapi/entry.cgi?${own}`;
  };
  return playlist.replace(/^[^#\n].*$/gm, address).replace(/URI="([^"]+)"/g, (_, file) => `URI="${address(file)}"`);
}

// Begins with the track that the stream was opened with.
function withDefault(playlist, track) {
  if (!track) return playlist;
  const chosen = (rendition) => rendition.includes(`playlist=audio_${track}"`);
  return playlist.replace(/^#EXT-X-MEDIA.*$/gm, (line) => line.replace(/DEFAULT=\w+/, `DEFAULT=${chosen(line) ? "YES" : "NO"}`));
}

// The same for Smooth Streaming, whose players begin with the first track.
function withFirst(manifest, track) {
  if (!track) return manifest;
  const [chosen] = new RegExp(`<StreamIndex Type="audio" Name="audio_${track}".*?</StreamIndex>\n`, "s").exec(manifest);
  return manifest.replace(chosen, "").replace('<StreamIndex Type="audio"', `${chosen}<StreamIndex Type="audio"`);
}

function sendPage(page, pathname, response) {
  const file = path.join(page, pathname === "/" ? "index.html" : path.normalize(pathname));
  let body;
  try {
    body = readFileSync(file);
  } catch (error) {
    if (error.code !== "ENOENT") throw error;
    response.writeHead(404).end();
    return;
  }
  response.writeHead(200, { "Content-Type": kTypes[path.extname(file)] ?? "application/octet-stream", "Content-Security-Policy": kPolicy });
  response.end(body);
}

function sendFile(request, response, file, type) {
  if (!file) {
    response.writeHead(404).end();
    return;
  }
  const { size } = statSync(file);
  const range = /^bytes=(\d+)-(\d*)$/.exec(request.headers.range ?? "");
  const start = range ? Number(range[1]) : 0;
  const end = range?.[2] ? Math.min(Number(range[2]), size - 1) : size - 1;
  const headers = { "Content-Type": type, "Accept-Ranges": "bytes", "Content-Length": end - start + 1 };
  if (range) headers["Content-Range"] = `bytes ${start}-${end}/${size}`;
  response.writeHead(range ? 206 : 200, headers);
  // Browsers break off such answers all the time.
  pipeline(createReadStream(file, { start, end }), response, () => undefined);
}
