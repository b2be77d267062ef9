// What this browser plays, as far as it says so, and what a film is to a browser.
import type { Film } from "./catalog.ts";

export interface Abilities {
  // Each takes a media type with its codecs.
  file: (type: string) => boolean; // from an address
  fragments: (type: string) => boolean; // put together by a player in the page
}

// Of streams that the server converts: H.264 and AAC in fragments, VP8 and Opus as WebM.
const kFragments = 'video/mp4; codecs="avc1.42c01e, mp4a.40.2"';
const kPlaylist = "application/vnd.apple.mpegurl";
const kWebm = 'video/webm; codecs="vp8, opus"';

export function abilitiesOf(video: HTMLVideoElement): Abilities {
  type Engine = { isTypeSupported: (type: string) => boolean } | undefined;
  const page = globalThis as { MediaSource?: Engine; ManagedMediaSource?: Engine };
  const engine = page.ManagedMediaSource ?? page.MediaSource;
  return {
    file: (type) => video.canPlayType(type) !== "",
    fragments: (type) => engine?.isTypeSupported(type) ?? false,
  };
}

export function takesFragments(can: Abilities): boolean {
  return can.fragments(kFragments);
}

// By itself where no player in the page can.
export function playsHls(can: Abilities): boolean {
  return takesFragments(can) || (can.file(kPlaylist) && can.file(kFragments));
}

export function playsWebm(can: Abilities): boolean {
  return can.file(kWebm);
}

const kContainers = new Map([
  ["mp4", "video/mp4"],
  ["mov", "video/mp4"], // the same boxes; no browser admits to the type of its own
  ["webm", "video/webm"],
  ["mkv", "video/x-matroska"],
  ["ogg", "video/ogg"],
]);

const kCodecs = new Map([
  ["h264", "avc1.640028"],
  ["hevc", "hvc1.1.6.L120.90"],
  ["hevc_10bit", "hvc1.2.4.L120.90"],
  ["vp8", "vp8"],
  ["vp9", "vp09.00.40.08"],
  ["av1", "av01.0.08M.08"],
  ["theora", "theora"],
  ["aac", "mp4a.40.2"],
  ["mp3", "mp3"],
  ["flac", "flac"],
  ["opus", "opus"],
  ["vorbis", "vorbis"],
]);

// The media type of a film; nothing where its container or a codec of it has none.
export function typeOf({ container, video_codec, audio_codec }: Pick<Film, "container" | "video_codec" | "audio_codec">): string | undefined {
  const type = kContainers.get(container);
  const codecs = [video_codec, audio_codec].filter((codec) => codec !== "").map((codec) => kCodecs.get(codec));
  if (type === undefined || codecs.length === 0 || codecs.includes(undefined)) return undefined;
  return `${type}; codecs="${codecs.join(", ")}"`;
}
