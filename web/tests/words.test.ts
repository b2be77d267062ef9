import assert from "node:assert/strict";
import { test } from "node:test";
import { Refusal, Unreachable } from "../src/api.ts";
import type { Film, Progress } from "../src/catalog.ts";
import { placeOf } from "../src/catalog.ts";
import { kDeliveries, kUsual, type Delivery } from "../src/delivery.ts";
import { messageKind } from "../src/library_message.ts";
import { kQualities, type Quality } from "../src/quality.ts";
import { outcome, scanLine, signature } from "../src/scan_watch.ts";
import { readLoudness } from "../src/volume.ts";
import {
  describeFormat, formatDelay, nameDelivery, nameFormat, sayDelay, wordsForLosing, wordsForLosingSubtitle,
  wordsForOpening, wordsForOriginal, wordsForRefusing, wordsForSigningIn, wordsForSubtitle,
} from "../src/words.ts";

const kLow = kQualities.find(({ name }) => name === "low") as Quality;
const kSmooth = kDeliveries.find(({ format }) => format === "ss") as Delivery;

const kFilm = { container: "matroska", video_codec: "hevc", audio_codec: "ac3" } as Film;
const kProgress: Progress = {
  running: true, found: 0, looked_at: 0, to_look_at: 0, added: 0, changed: 0, moved: 0, removed: 0, refused: 0,
  waiting: 0, current: "",
};

for (const code of [100, 1200, 1204, 1205, 1210, 1211]) {
  test(`Words.NameTheFormatThatIsInTheWay(${code})`, () => {
    const words = wordsForOpening(new Refusal(code, ""), kFilm);
    assert.match(words.detail, /^Its format \(MKV · HEVC · AC-3\) /);
    assert.match(wordsForOpening(new Refusal(code, "")).detail, /^Its format [a-z]/);
  });
}

for (const code of [1200, 1207]) {
  test(`Words.SayWhichSettingHelps(${code})`, () => {
    assert.match(wordsForOpening(new Refusal(code, "")).detail, /kinora\.conf and restart Kinora\.$/);
  });
}

test("Words.KnowEveryRefusalOfTheEngine", () => {
  for (let code = 1200; code <= 1212; code += 1) {
    const words = wordsForOpening(new Refusal(code, ""), kFilm);
    assert.notEqual(words.title, "This film can’t be started", `code ${code}`);
    assert.doesNotMatch(words.detail, /[{}]/);
  }
});

test("Words.SayHowTheOriginalComes", () => {
  assert.equal(wordsForOriginal(kUsual, "raw"), "the file as it is");
  assert.equal(wordsForOriginal(kUsual, "hls_remux"), "the picture as it is");
  assert.equal(wordsForOriginal(kUsual, "hls"), "converted for this browser");
  assert.equal(wordsForOriginal(kUsual, "webm_remux"), "converted for this browser");
  assert.equal(wordsForOriginal(kUsual, undefined), "as good as it gets");
  assert.equal(wordsForOriginal({ ...kUsual, quality: kLow }, "hls"), "as good as it gets");
});

test("Words.NameWhatTheServerHasChosen", () => {
  assert.equal(nameDelivery(kUsual, "raw"), "now direct");
  assert.equal(nameDelivery(kUsual, "hls_remux"), "now HLS, copied");
  assert.equal(nameDelivery(kUsual, undefined), "what suits this browser");
  assert.equal(nameDelivery({ ...kUsual, delivery: kSmooth }, "ss"), "what suits this browser");
});

test("Words.SayWhyAChoiceCannotBeHad", () => {
  const smooth = { ...kUsual, delivery: kSmooth };
  const refused = (code: number, message: string) => ({ why: "open", error: new Refusal(code, message) }) as const;
  const name = "“Converted, in chunks” (Smooth Streaming)";
  assert.equal(
    wordsForRefusing(smooth, refused(1212, "failed to determine profile")),
    `The server refuses ${name}: “failed to determine profile” (code 1212). The film plays as before.`,
  );
  assert.equal(wordsForRefusing(smooth, refused(1200, "")), `The server refuses ${name} (code 1200). The film plays as before.`);
  assert.equal(wordsForRefusing(smooth, { why: "format" }), `This browser can’t play the film as ${name}. It plays as before.`);
  assert.equal(
    wordsForRefusing(smooth, { why: "lost", begun: true }),
    `The server can’t send the film as ${name}; its log says why. It plays as before.`,
  );
  assert.equal(
    wordsForRefusing({ ...kUsual, quality: kLow }, refused(1200, "")),
    "The server does not offer this film in “Low”. It plays as before.",
  );
});

const kTitles: [unknown, string][] = [
  [new Refusal(105, ""), "You may not watch this film"],
  [new Refusal(1101, ""), "This film is not in the library any more"],
  [new Refusal(1200, ""), "Converting is switched off"],
  [new Refusal(1203, ""), "The server’s disk is full"],
  [new Refusal(1212, ""), "The stream could not be started"],
  [new Refusal(1400, ""), "This film is locked"],
  [new Refusal(1401, ""), "This film is locked"],
  [new Refusal(4711, ""), "This film can’t be started"],
  [new Unreachable(""), "Kinora does not answer"],
  [new TypeError("a mistake of ours"), "Something went wrong"],
];
for (const [error, title] of kTitles) {
  test(`Words.SayWhyAFilmDoesNotStart(${title})`, () => assert.equal(wordsForOpening(error).title, title));
}

test("Words.NeverRepeatTheServersMessage", () => {
  const words = wordsForOpening(new Refusal(4711, "secret path"));
  assert.doesNotMatch(JSON.stringify(words), /secret path/);
});

test("Words.TellAWrongPasswordFromTooManyAttempts", () => {
  assert.equal(wordsForSigningIn(new Refusal(126, "")), "Name or password is wrong.");
  assert.match(wordsForSigningIn(new Refusal(127, "")), /^Too many attempts\./);
});

const kFormats: [string, string][] = [
  ["mkv", "MKV"],
  ["matroska", "MKV"],
  ["webm", "WebM"],
  ["h264", "H.264"],
  ["hevc_10bit", "HEVC 10-bit"],
  ["hevc_422_12bit", "HEVC 4:2:2 12-bit"],
  ["h264_444", "H.264 4:4:4"],
  ["h264_rare", "H.264 in a rare profile"],
  ["h264_interlaced", "H.264 interlaced"],
  ["pcm_s16le", "PCM"],
  ["wmav2", "Windows Media Audio"],
  ["dts", "DTS"],
  ["unknown_codec", "an unknown codec"],
  ["none", "an unknown codec"],
  ["some_thing", "SOME THING"],
];
for (const [part, name] of kFormats) {
  test(`Words.NameAFormatAsPeopleDo(${part})`, () => assert.equal(nameFormat(part), name));
}

test("Words.TellAFilmThatStoppedFromOneThatNeverBegan", () => {
  assert.equal(wordsForLosing(true).title, "The film stopped");
  assert.match(wordsForLosing(false).detail, /kinora doctor/);
});

test("Words.LeaveOutWhatAFilmLacks", () => {
  assert.equal(describeFormat({ container: "mp4", video_codec: "h264", audio_codec: "" }), "MP4 · H.264");
});

test("Place.IsTheShareAndItsFolders", () => {
  assert.equal(placeOf({ share: "Films", folder: "2019/Summer" }), "Films / 2019 / Summer");
  assert.equal(placeOf({ share: "Films", folder: "" }), "Films");
});

const kStates: [Parameters<typeof messageKind>[0], string][] = [
  [{ films: 3, failure: new Error(), search: "", scanning: false, administrator: true }, "failure"],
  [{ films: 3, failure: undefined, search: "x", scanning: true, administrator: true }, "none"],
  [{ films: 0, failure: undefined, search: "x", scanning: true, administrator: true }, "nothing found"],
  [{ films: 0, failure: undefined, search: "", scanning: true, administrator: true }, "scanning"],
  [{ films: 0, failure: undefined, search: "", scanning: false, administrator: true }, "empty"],
];
for (const [state, kind] of kStates) {
  test(`LibraryMessage.Is(${kind})`, () => assert.equal(messageKind(state), kind));
}

const kLines: [Partial<Progress>, string][] = [
  [{}, "Looking through the folders…"],
  [{ found: 1 }, "1 film found so far…"],
  [{ found: 2500, to_look_at: 1200, looked_at: 1100 }, "Looking at 1,200 new or changed files: 1,100 done"],
];
for (const [own, line] of kLines) {
  test(`Scan.SaysWhatItDoes(${line})`, () => assert.equal(scanLine({ ...kProgress, ...own }), line));
}

const kOutcomes: [Partial<Progress>, string][] = [
  [{}, ""],
  [{ added: 1 }, "1 film added"],
  [{ added: 1200, removed: 2 }, "1,200 films added, 2 removed"],
  [{ moved: 3, changed: 1 }, "1 film updated, 3 moved"],
];
for (const [own, line] of kOutcomes) {
  test(`Scan.SaysWhatCameOfIt(${line})`, () => assert.equal(outcome({ ...kProgress, ...own }), line));
}

test("Scan.ShowsItsStateOnlyByWhatChangesTheLibrary", () => {
  assert.equal(signature(kProgress), signature({ ...kProgress, running: false, current: "x", waiting: 3 }));
  assert.notEqual(signature(kProgress), signature({ ...kProgress, removed: 1 }));
});

const kLoudness: [string | null, { volume: number; muted: boolean }][] = [
  [null, { volume: 1, muted: false }],
  ["rubbish", { volume: 1, muted: false }],
  ['{"volume":7}', { volume: 1, muted: false }],
  ['{"volume":0.4,"muted":true}', { volume: 0.4, muted: true }],
];
for (const [text, loudness] of kLoudness) {
  test(`Loudness.IsReadWithCare(${text})`, () => assert.deepEqual(readLoudness(text), loudness));
}

const kDelays: [number, string, string][] = [
  [0, "0.0 s", "Subtitles come as they are written."],
  [0.3, "+0.3 s", "Subtitles come 0.3 seconds later."],
  [-12, "−12.0 s", "Subtitles come 12.0 seconds earlier."],
];
for (const [seconds, short, long] of kDelays) {
  test(`SubtitleDelay.IsToldAs(${short})`, () => {
    assert.equal(formatDelay(seconds), short);
    assert.equal(sayDelay(seconds), long);
  });
}

test("SubtitleWords.SayWhatToDo", () => {
  assert.equal(wordsForSubtitle("empty", true), "This subtitle holds no text that can be read. Try another charset.");
  assert.equal(wordsForSubtitle("empty", false), "This subtitle holds no text that can be read.");
  assert.equal(wordsForSubtitle("begun", true), "Only the first minutes of this subtitle could be loaded.");
  assert.match(wordsForSubtitle("late", true), /Choose it again later\.$/);
});

const kLost: [string, unknown, RegExp][] = [
  ["no answer", new Unreachable("gone"), /^Kinora does not answer/],
  ["gone", new Refusal(1101, ""), /not there any more/],
  ["refused", new Refusal(105, ""), /\(code 105\)\.$/],
  ["no document", new SyntaxError("no WebVTT"), /^The subtitle could not be read/],
];
for (const [what, error, words] of kLost) {
  test(`SubtitleWords.SayWhyItIsLost(${what})`, () => assert.match(wordsForLosingSubtitle(error), words));
}
