// read_webvtt WELL-FORMED ODD: folders as write_webvtt leaves them. Of well-formed texts the parser finds exactly the cues
// that SubRip has in the window; of odd ones it finds every cue that has times, and complains of nothing else than what
// is listed here.
import assert from "node:assert/strict";
import { readFileSync, readdirSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";
import { isDeepStrictEqual } from "node:util";

const require = createRequire(join(process.env.KINORA_BROWSER_TOOLS, "package.json"));
const { WebVTTParser } = require("webvtt-parser");

// The time map of RFC 8216, 3.5, belongs to the header; the parser knows WebVTT alone.
const kTimeMap = { line: 2, message: "No blank line after the signature." };

const kNoLength = "End timestamp is not greater than start timestamp.";
const kBackwards = "Start timestamp is not greater than or equal to start timestamp of previous cue.";
const kNoBlankLine = "Blank line missing before cue.";
const kNoNumber = "Timestamp must start with a character in the range 0-9.";
const kOneDigit = "Must be exactly two digits.";
const kMilliseconds = "Milliseconds must be given in three digits.";
const kNoFraction = 'No decimal separator (".") found.';
const kNotClosed = "Required end tag missing.";
const kAnnotation = "Only <v> and <lang> can have an annotation.";

// What the files are to blame for. Times go out as they are written but for their commas, and lines as they are but for
// their tags, so a parser that keeps to the letter does without a cue that has no such times.
const kOdd = {
  "golden-arrows-in-text": [kNoBlankLine, kBackwards, kNoNumber],
  "golden-entities": ["Incorrect escape."],
  "golden-markers-of-our-own": ["Incorrect start tag.", kNotClosed],
  "golden-no-blank-lines": [kNoBlankLine],
  "golden-odd-times": [
    "'-->' not separated from timestamp by whitespace.", kOneDigit, kNoNumber,
    "Timestamp not separated from '-->' by whitespace.",
  ],
  "golden-open-tag-across-cues": [kAnnotation, kNotClosed],
  "golden-other-tags": [kNoBlankLine, kNoNumber], // "<!-- a remark -->" has an arrow
  "golden-out-of-order": [kNoLength, kBackwards],
  "golden-stray-brackets": [kAnnotation, kNotClosed], // a "<b" is closed by the next cue's arrow
  "golden-windows": [kNoLength, kBackwards],
  "sample-example-in-non-utf8": [kMilliseconds, kNoFraction],
  "sample-missing-sequence-in": [kMilliseconds, kNoFraction],
  "sample-subrip__typical_bad_timestamps": [kMilliseconds],
  "sample-subrip__typical_negative_timestamps": [kNoNumber],
  "sample-subrip__typical_with_tags": [kOneDigit],
  "sample-utf16": [kOneDigit],
};

const documents = (folder) => readdirSync(folder).filter((name) => name.endsWith(".vtt")).sort();

const windowOf = (name) => {
  const [, start, end] = /~(-?\d+)~(-?\d+)\.vtt$/.exec(name) ?? [];
  return start === undefined ? undefined : { start: Number(start), end: Number(end) };
};

const rounded = (time) => Math.round(time * 1000) / 1000;

const seconds = (time) => {
  const [hours, minutes, rest] = time.split(":");
  return rounded(Number(hours) * 3600 + Number(minutes) * 60 + Number(rest.replace(",", ".")));
};

const cuesOfSubRip = (text) =>
  text.split(/\n\n+/).filter((block) => block.trim() !== "").map((block) => {
    const [, times, ...lines] = block.replace(/\n$/, "").split("\n");
    const [startTime, endTime] = times.split(" --> ").map(seconds);
    return { startTime, endTime, text: lines.join("\n") };
  });

const isWithin = (window) => (cue) => {
  if (window === undefined || window.start === -1 || window.end === -1) return true;
  const [start, end] = [Math.floor(cue.startTime), Math.floor(cue.endTime)];
  return !(start === 0 && end === 0) && window.start <= end && window.end > start;
};

const read = (folder, name) => {
  const text = readFileSync(join(folder, name), "utf8");
  const { cues, errors } = new WebVTTParser().parse(text, "subtitles");
  const [header, ...others] = errors.map(({ line, message }) => ({ line, message }));
  assert.deepEqual(header, kTimeMap, name);
  const found = cues.map((cue) => ({ startTime: rounded(cue.startTime), endTime: rounded(cue.endTime), text: cue.text }));
  return { text, errors: others, cues: found };
};

// The document that players get where there is no cue: the window as times, and no text.
const emptyCue = (window) => ({ startTime: Math.max(window.start, 0), endTime: Math.max(window.end, 0), text: "" });
const isEmpty = ({ cues }, window) => cues.length === 1 && cues[0].text === "" && isDeepStrictEqual(cues[0], emptyCue(window));

const inOrder = (cues) => [...cues].sort((a, b) => a.startTime - b.startTime || b.endTime - a.endTime);

const checkWellFormed = (folder) => {
  let empty = 0;
  for (const name of documents(folder)) {
    const window = windowOf(name);
    const found = read(folder, name);
    const all = cuesOfSubRip(readFileSync(join(folder, name.replace(/(~.*)?\.vtt$/, ".srt")), "utf8"));
    const wanted = all.filter(isWithin(window));
    assert.ok(all.length >= 6, name);
    empty += wanted.length === 0 ? 1 : 0;
    const expected = wanted.length > 0 ? wanted : [emptyCue(window)];
    assert.deepEqual(found.cues, inOrder(expected), name);
    const noLength = expected.some((cue) => cue.endTime <= cue.startTime);
    assert.deepEqual(found.errors.map((error) => error.message), noLength ? [kNoLength] : [], name);
  }
  console.log(`${documents(folder).length} well-formed documents, ${empty} of them empty`);
  assert.ok(empty > 0);
};

const kTimes = /^\d{2,}:[0-5]\d:[0-5]\d\.\d{3} *--> *\d{2,}:[0-5]\d:[0-5]\d\.\d{3}([ \t].*)?\r?$/gm;

const checkOdd = (folder) => {
  const complaints = {};
  for (const name of documents(folder)) {
    const found = read(folder, name);
    const source = name.replace(/(~.*)?\.vtt$/, "");
    assert.equal(found.cues.length, (found.text.match(kTimes) ?? []).length, name);
    complaints[source] ??= new Set();
    if (isEmpty(found, windowOf(name) ?? { start: -1, end: -1 })) continue;
    for (const { message } of found.errors) complaints[source].add(message);
  }
  console.log(`${documents(folder).length} odd documents`);
  const sources = Object.keys(complaints);
  assert.ok(sources.length > 20);
  const expected = Object.fromEntries(sources.map((name) => [name, new Set(kOdd[name] ?? [])]));
  assert.deepEqual(complaints, expected);
};

const [wellFormed, odd] = process.argv.slice(2);
checkWellFormed(wellFormed);
checkOdd(odd);
