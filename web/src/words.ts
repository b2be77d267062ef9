// What the page says when something fails. The server's own messages are for its log.
import { kTooManyAttempts, kWrongPassword, Refusal, Unreachable } from "./api.ts";
import type { Film } from "./catalog.ts";
import { kAutomatic, kDeliveries, type Choice } from "./delivery.ts";
import type { Failure } from "./playback.ts";
import { kOriginal } from "./quality.ts";

export interface Words {
  title: string;
  detail: string;
}

const kNoAnswer: Words = {
  title: "Kinora does not answer",
  detail: "The server may be starting again, or this device has lost its connection.",
};

// What the server refuses to start, by its code. "{format}" becomes what the film is made of.
const kOpenWords: Record<number, Words> = {
  100: {
    title: "This film can’t be played",
    detail: "{format} neither plays in this browser as it is nor can be converted for it.",
  },
  101: { title: "This film is not there any more", detail: "It may have been moved or removed." },
  105: {
    title: "You may not watch this film",
    detail: "Your account has no right to read the folder it lies in.",
  },
  128: { title: "This film is not there any more", detail: "It may have been moved or removed." },
  129: { title: "The server could not start the film", detail: "Its log says why. Trying again may help." },
  1101: {
    title: "This film is not in the library any more",
    detail: "It may have been moved or removed since the page was opened.",
  },
  1200: {
    title: "Converting is switched off",
    detail:
      "{format} would have to be converted for this browser. An administrator can allow that: set transcoding " +
      "to “yes” in the server’s kinora.conf and restart Kinora.",
  },
  1201: {
    title: "The server is converting something else",
    detail: "This film has to be converted, too, and must wait for that. Try again in a while.",
  },
  1202: {
    title: "The server is converting something else",
    detail: "This film has to be converted, too, and this machine does one at a time. Try again in a while.",
  },
  1203: {
    title: "The server’s disk is full",
    detail: "Kinora needs a little room to start a stream. Free some space on the server and try again.",
  },
  1204: {
    title: "This film’s sound can’t be converted",
    detail: "{format} has sound that Kinora can’t read. Another player may take the file as it is.",
  },
  1205: {
    title: "This film’s picture can’t be converted",
    detail: "{format} has a picture that Kinora can’t read. Another player may take the file as it is.",
  },
  1206: {
    title: "The server has too little memory",
    detail: "Converting this film needs more than is free now. End another film or program there and try again.",
  },
  1207: {
    title: "The server’s hardware can’t convert this film",
    detail: "An administrator can let software do it: set hardware to “no” in kinora.conf and restart Kinora.",
  },
  1208: { title: "This film’s picture is too large to convert", detail: "It is more than this server takes on." },
  1209: {
    title: "This film has too many pictures a second",
    detail: "To convert it is more than this server takes on.",
  },
  1210: {
    title: "This film’s format is too demanding to convert",
    detail: "{format} is made in a way that this server can’t convert.",
  },
  1211: {
    title: "This film can’t be played",
    detail: "{format} neither plays in this browser as it is nor can be converted for it.",
  },
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

// Refusals that mean that a file has gone.
const kGone = new Set([128, 1101, 1151]);

const kNames = new Map([
  ["matroska", "MKV"],
  ["webm", "WebM"],
  ["mpegts", "MPEG-TS"],
  ["mpeg", "MPEG"],
  ["asf", "Windows Media"],
  ["ogg", "Ogg"],
  ["rm", "RealMedia"],
  ["h263", "H.263"],
  ["h264", "H.264"],
  ["mpeg1video", "MPEG-1"],
  ["mpeg2video", "MPEG-2"],
  ["mpeg4", "MPEG-4"],
  ["msmpeg4v1", "MPEG-4 by Microsoft"],
  ["msmpeg4v2", "MPEG-4 by Microsoft"],
  ["msmpeg4v3", "MPEG-4 by Microsoft"],
  ["mjpeg", "Motion JPEG"],
  ["theora", "Theora"],
  ["prores", "ProRes"],
  ["dvvideo", "DV"],
  ["wmv1", "Windows Media Video 7"],
  ["wmv2", "Windows Media Video 8"],
  ["wmv3", "Windows Media Video 9"],
  ["wmav1", "Windows Media Audio"],
  ["wmav2", "Windows Media Audio"],
  ["ac3", "AC-3"],
  ["eac3", "E-AC-3"],
  ["truehd", "TrueHD"],
  ["vorbis", "Vorbis"],
  ["opus", "Opus"],
  ["none", "an unknown codec"],
  ["unknown_codec", "an unknown codec"],
]);

// What the server appends to a codec whose pictures are unusual.
const kUnusual: readonly [RegExp, (found: string) => string][] = [
  [/^(\d+)bit$/, (bits) => `${bits}-bit`],
  [/^(4\d\d)$/, (chroma) => [...chroma].join(":")],
  [/^(rare)$/, () => "in a rare profile"],
  [/^(interlaced)$/, (word) => word],
];

function nameSuffix(suffix: string): string {
  for (const [pattern, name] of kUnusual) {
    const found = pattern.exec(suffix)?.[1];
    if (found !== undefined) return name(found);
  }
  return suffix.toUpperCase();
}

// The server's name for a container or a codec, as people write it: "hevc_10bit" -> "HEVC 10-bit".
export function nameFormat(part: string): string {
  const whole = part.toLowerCase();
  const known = kNames.get(whole);
  if (known !== undefined) return known;
  if (whole.startsWith("pcm_")) return "PCM";
  const [name = "", ...suffixes] = whole.split("_");
  return [kNames.get(name) ?? name.toUpperCase(), ...suffixes.map(nameSuffix)].join(" ");
}

// What a film is made of: "MKV · HEVC · AC-3".
export function describeFormat(film: Pick<Film, "container" | "video_codec" | "audio_codec">): string {
  const parts = [film.container, film.video_codec, film.audio_codec];
  return parts.filter((part) => part !== "").map(nameFormat).join(" · ");
}

export function wordsForOpening(error: unknown, film?: Film): Words {
  if (error instanceof Unreachable) return kNoAnswer;
  if (!(error instanceof Refusal)) return { title: "Something went wrong", detail: "Trying again may help." };
  const known = kOpenWords[error.code];
  if (!known) return { title: "This film can’t be started", detail: `The server refused it (code ${error.code}).` };
  const made_of = film ? describeFormat(film) : "";
  const format = made_of ? `Its format (${made_of})` : "Its format";
  return { title: known.title, detail: known.detail.replace("{format}", format) };
}

// How the film comes when no quality is chosen, by its stream's format.
export function wordsForOriginal({ quality }: Choice, format: string | undefined): string {
  if (quality !== kOriginal || format === undefined) return "as good as it gets";
  if (format === "raw") return "the file as it is";
  return format === "hls_remux" ? "the picture as it is" : "converted for this browser";
}

// What those who know call the way that the server has chosen.
export function nameDelivery({ delivery }: Choice, format: string | undefined): string {
  const taken = kDeliveries.find((one) => one.format === format);
  return delivery === kAutomatic && taken ? `now ${taken.detail}` : "what suits this browser";
}

// A way of playing the film that was chosen and can't be had.
export function wordsForRefusing({ delivery, quality }: Choice, failure: Failure): string {
  if (delivery === kAutomatic) return `The server does not offer this film in “${quality.label}”. It plays as before.`;
  const name = `“${delivery.label}” (${delivery.detail})`;
  if (failure.why === "format") return `This browser can’t play the film as ${name}. It plays as before.`;
  const error = failure.why === "open" ? failure.error : undefined;
  if (!(error instanceof Refusal)) return `The server can’t send the film as ${name}; its log says why. It plays as before.`;
  const reason = error.message ? `: “${error.message}”` : "";
  return `The server refuses ${name}${reason} (code ${error.code}). The film plays as before.`;
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

// `begun`: something of the film had come.
export function wordsForLosing(begun: boolean): Words {
  if (begun) {
    return {
      title: "The film stopped",
      detail: "The stream broke off and could not be taken up again. Your place in the film is kept.",
    };
  }
  return {
    title: "The film does not begin",
    detail: "The server could not make its first part; its log says why. “kinora doctor”, run there, finds what is missing.",
  };
}

// 0.3 -> "+0.3 s". Above 0: the subtitle comes later than it is written.
export function formatDelay(seconds: number): string {
  const sign = seconds > 0 ? "+" : seconds < 0 ? "−" : "";
  return `${sign}${Math.abs(seconds).toFixed(1)} s`;
}

export function sayDelay(seconds: number): string {
  if (seconds === 0) return "Subtitles come as they are written.";
  return `Subtitles come ${Math.abs(seconds).toFixed(1)} seconds ${seconds < 0 ? "earlier" : "later"}.`;
}

export const kLoadingSubtitles = "Loading subtitles";

// A subtitle of which nothing, or not all, can be shown.
export function wordsForSubtitle(came: "begun" | "empty" | "late", has_charset: boolean): string {
  if (came === "begun") return "Only the first minutes of this subtitle could be loaded.";
  if (came === "late") return "The server is still taking this subtitle out of the film. Choose it again later.";
  return `This subtitle holds no text that can be read.${has_charset ? " Try another charset." : ""}`;
}

export function wordsForLosingSubtitle(error: unknown): string {
  if (error instanceof Unreachable) return "Kinora does not answer. The subtitle could not be loaded.";
  if (!(error instanceof Refusal)) return "The subtitle could not be read.";
  if (kGone.has(error.code)) return "This subtitle is not there any more. It may have been moved or removed.";
  return `The server does not give out this subtitle (code ${error.code}).`;
}
