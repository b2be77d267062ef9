import assert from "node:assert/strict";
import { test } from "node:test";
import type { WebApi } from "../src/api.ts";
import {
  asSubtitle, hasCharset, listSubtitles, nameSubtitles, subtitleIn, subtitleToBegin,
  type Habits, type Subtitle, type SubtitleWords,
} from "../src/subtitle_list.ts";

function subtitle(id: string, own: Partial<Subtitle> = {}): Subtitle {
  const usual = { language: "", title: "", file: "", embedded: true, extracted: true, readable: true };
  return { id, ...usual, forced: false, hearing_impaired: false, ...own };
}

const kListed = { id: 3, lang: "ger", title: "Kommentar", embedded: true, need_preview: true };

test("Subtitles.AreTakenFromTheirList", () => {
  assert.deepEqual(asSubtitle({ ...kListed, format: "srt", forced: true }), {
    id: "3", language: "ger", title: "Kommentar", file: "", embedded: true, extracted: false, readable: true,
    forced: true, hearing_impaired: false,
  });
  const file = { id: "/v/Films/a.de.sub", lang: "de", title: "", embedded: false, need_preview: false };
  assert.deepEqual(asSubtitle(file), subtitle("/v/Films/a.de.sub", { language: "de", file: "a.de.sub", embedded: false }));
  assert.equal(asSubtitle({ ...file, file: "b.sub", hearing_impaired: true }).file, "b.sub");
});

for (const [format, readable] of [["srt", true], ["pgs", false], ["dvdsub", false], [undefined, true]] as const) {
  test(`Subtitles.AreReadableUnlessTheyArePictures(${format})`, () =>
    assert.equal(asSubtitle(format ? { ...kListed, format } : kListed).readable, readable));
}

const kFiles: [string, boolean, boolean][] = [
  ["a.srt", false, true], ["a.de.SRT", false, true], ["a.ass", false, false], ["a.srt.vtt", false, false], ["", true, false],
];
for (const [file, embedded, has] of kFiles) {
  test(`Subtitles.HaveACharsetWhereTheyAreSubRipFiles(${file || "stream"})`, () =>
    assert.equal(hasCharset(subtitle("1", { file, embedded })), has));
}

test("Subtitles.AreListedWithPictures", async () => {
  const asked: unknown[] = [];
  const api = { post: async (...call: unknown[]) => (asked.push(call), { subtitles: [kListed] }) } as unknown as WebApi;
  assert.deepEqual((await listSubtitles(api, 7, "1234")).map(({ id }) => id), ["3"]);
  assert.deepEqual(asked, [["Subtitle", "list", { id: 7, include_image: "true", pin: "1234" }]]);
});

const kNames: [string, Partial<Subtitle>[], SubtitleWords[]][] = [
  ["a language", [{ language: "eng" }], [{ label: "English", detail: "" }]],
  ["a title", [{ language: "eng", title: "Commentary" }], [{ label: "English", detail: "Commentary" }]],
  ["a title that says no more", [{ language: "eng", title: "english" }], [{ label: "English", detail: "" }]],
  ["no language", [{ title: "Songs" }, { file: "a.srt" }, {}], [
    { label: "Songs", detail: "" },
    { label: "a.srt", detail: "" },
    { label: "Subtitle 3", detail: "" },
  ]],
  ["marks", [{ language: "de", title: "SDH", hearing_impaired: true }, { language: "de", title: "Forced", forced: true }], [
    { label: "German", detail: "for the hard of hearing" },
    { label: "German", detail: "only foreign parts" },
  ]],
  ["a title that looks like a mark", [{ language: "de", title: "SDH" }], [{ label: "German", detail: "SDH" }]],
  ["pictures", [{ language: "fre", readable: false }], [{ label: "French", detail: "pictures, not available as text" }]],
  ["two files alike", [{ language: "en", file: "a.en.srt" }, { language: "en", file: "a.eng.srt" }], [
    { label: "English", detail: "a.en.srt" },
    { label: "English", detail: "a.eng.srt" },
  ]],
  ["two streams alike", [{ language: "en", forced: true }, { language: "en", forced: true }], [
    { label: "English", detail: "only foreign parts · track 1" },
    { label: "English", detail: "only foreign parts · track 2" },
  ]],
  ["markup", [{ title: "<b>Bold</b>" }], [{ label: "<b>Bold</b>", detail: "" }]],
];
for (const [what, own, words] of kNames) {
  test(`Subtitles.AreNamed(${what})`, () =>
    assert.deepEqual(nameSubtitles(own.map((one, index) => subtitle(String(index), one))), words));
}

const kFilm = [
  subtitle("pictures", { language: "de", readable: false }),
  subtitle("forced", { language: "de", forced: true }),
  subtitle("sdh", { language: "ger", hearing_impaired: true }),
  subtitle("plain", { language: "de-AT" }),
  subtitle("english", { language: "eng" }),
  subtitle("english forced", { language: "eng", forced: true }),
  subtitle("unknown"),
];

const kLanguages: [string, string | undefined][] = [["de", "plain"], ["en", "english"], ["und", "unknown"], ["fr", undefined]];
for (const [language, id] of kLanguages) {
  test(`Subtitles.AreFoundByLanguage(${language})`, () => assert.equal(subtitleIn(language, kFilm)?.id, id));
}

const kNobody: Habits = { chosen: undefined, language: undefined };
const kBegins: [string, Habits, string, string | undefined][] = [
  ["nothing known", kNobody, "", undefined],
  ["foreign parts in the language that is heard", kNobody, "ger", "forced"],
  ["none of these", kNobody, "fre", undefined],
  ["an unknown sound", kNobody, "und", undefined],
  ["a viewer's language", { chosen: undefined, language: "en" }, "ger", "english"],
  ["a language that the film has not got", { chosen: undefined, language: "fr" }, "eng", "english forced"],
  ["chosen before", { chosen: "sdh", language: "en" }, "ger", "sdh"],
  ["chosen before, and gone", { chosen: "gone", language: "en" }, "ger", "english"],
  ["chosen before, and pictures", { chosen: "pictures", language: undefined }, "", undefined],
  ["turned off before", { chosen: null, language: "en" }, "ger", undefined],
];
for (const [what, habits, sound, id] of kBegins) {
  test(`Subtitles.BeginWith(${what})`, () => assert.equal(subtitleToBegin(kFilm, habits, sound)?.id, id));
}
