// What the page says when something fails. The server's own messages are for its log.
import { kTooManyAttempts, kWrongPassword, Refusal, Unreachable } from "./api.ts";
import type { Film } from "./catalog.ts";

export interface Words {
  title: string;
  detail: string;
}

const kNoAnswer: Words = {
  title: "Kinora does not answer",
  detail: "The server may be starting again, or this device has lost its connection.",
};

// 100, 1211 and 1212 have in common that no way was found to stream the film.
const kOpenWords: Record<number, Words> = {
  100: { title: "This film can’t be played yet", detail: "" },
  101: { title: "This film is not there any more", detail: "It may have been moved or removed." },
  105: {
    title: "You may not watch this film",
    detail: "Your account has no right to read the folder it lies in.",
  },
  1101: {
    title: "This film is not in the library any more",
    detail: "It may have been moved or removed since the page was opened.",
  },
  128: { title: "This film is not there any more", detail: "It may have been moved or removed." },
  129: { title: "The server could not start the film", detail: "Its log says why. Trying again may help." },
  1203: {
    title: "The server’s disk is full",
    detail: "Kinora needs a little room to start a stream. Free some space on the server and try again.",
  },
  1211: { title: "This film can’t be played yet", detail: "" },
  1212: {
    title: "The stream could not be started",
    detail: "The server could not set it up; its log says why. Trying again may help.",
  },
  1300: {
    title: "This file can’t be read as a film",
    detail: "It may be damaged, or not be complete yet.",
  },
  1400: { title: "This film is locked", detail: "Parental control is on for it. It opens with the PIN." },
  1401: { title: "This film is locked", detail: "That PIN was not right." },
};

const kNames = new Map([
  ["matroska", "MKV"],
  ["mpegts", "MPEG-TS"],
  ["h264", "H.264"],
  ["ac3", "AC-3"],
  ["eac3", "E-AC-3"],
  ["mpeg2video", "MPEG-2"],
  ["mpeg4", "MPEG-4"],
  ["vorbis", "Vorbis"],
  ["opus", "Opus"],
]);

export function nameFormat(part: string): string {
  return kNames.get(part.toLowerCase()) ?? part.toUpperCase();
}

// What a film is made of: "MKV · HEVC · AC-3".
export function describeFormat(film: Pick<Film, "container" | "video_codec" | "audio_codec">): string {
  const parts = [film.container, film.video_codec, film.audio_codec];
  return parts.filter((part) => part !== "").map(nameFormat).join(" · ");
}

export function wordsForOpening(error: unknown, film?: Film): Words {
  if (error instanceof Unreachable) return kNoAnswer;
  if (!(error instanceof Refusal)) return { title: "Something went wrong", detail: "Trying again may help." };
  const known = kOpenWords[error.code] ?? {
    title: "This film can’t be started",
    detail: `The server refused it (code ${error.code}).`,
  };
  if (error.code !== 100 && error.code !== 1211) return known;
  const made_of = film ? describeFormat(film) : "";
  const format = made_of ? `Its format (${made_of})` : "Its format";
  return {
    title: known.title,
    detail:
      `${format} would have to be converted first, which this version of Kinora does not do. ` +
      "MP4 files with H.264 video and AAC sound play as they are.",
  };
}

export function wordsForListing(error: unknown): Words {
  if (error instanceof Unreachable) return kNoAnswer;
  return { title: "The library can’t be shown", detail: "The server could not read it; its log says why." };
}

export function wordsForSigningIn(error: unknown): string {
  if (error instanceof Unreachable) return "Kinora does not answer. Is the server running?";
  if (error instanceof Refusal) {
    if (error.code === kWrongPassword) return "Name or password is wrong.";
    if (error.code === kTooManyAttempts) return "Too many attempts. Wait a minute, then try again.";
  }
  return "Signing in did not work. The server’s log says why.";
}

// The browser gave up on a stream that the server would still give.
export function wordsForPlaying(film?: Film): Words {
  const made_of = film ? describeFormat(film) : "";
  return {
    title: "This browser can’t play the film",
    detail: made_of ? `It is ${made_of}. Another browser or player may play it.` : "Another one may play it.",
  };
}

export const kStreamLost: Words = {
  title: "The film stopped",
  detail: "The stream broke off and could not be taken up again. Your place in the film is kept.",
};
