import assert from "node:assert/strict";
import { test } from "node:test";
import type { Abilities } from "../src/abilities.ts";
import type { Film } from "../src/catalog.ts";
import {
  choiceInstead, conversionFor, deliveriesFor, kAutomatic, kDeliveries, kUsual, playsIn, wayFor, withDelivery, withQuality,
  type Choice, type Delivery,
} from "../src/delivery.ts";
import { kOriginal, kQualities, type Quality } from "../src/quality.ts";
import type { Way } from "../src/stream.ts";

const kLow = kQualities.find(({ name }) => name === "low") as Quality;
const delivery = (format: string) => kDeliveries.find((one) => one.format === format) as Delivery;
const choice = (format: string, quality = kOriginal): Choice => ({ delivery: delivery(format), quality });

const kAll: Abilities = { file: () => true, fragments: () => true };
const kNone: Abilities = { file: () => false, fragments: () => false };
const kNoH264: Abilities = { file: (type) => /webm/.test(type), fragments: () => false };

const film = (container: string, video_codec: string, audio_codec: string) => ({ container, video_codec, audio_codec }) as Film;
const kMp4 = film("mp4", "h264", "aac");
const kWebm = film("webm", "vp9", "opus");
const kPlain = { film: kMp4, converted: false, track: false };

const kWays: [string, Choice, typeof kPlain | { film: undefined; converted: boolean; track: boolean }, Abilities, Way][] = [
  ["the usual", kUsual, kPlain, kAll, { format: "auto" }],
  ["a film not known", kUsual, { ...kPlain, film: undefined }, kAll, { format: "auto" }],
  ["not as it is", kUsual, { ...kPlain, converted: true }, kAll, { format: "hls" }],
  ["a quality", choice("auto", kLow), kPlain, kAll, { format: "hls", profile: "low" }],
  ["a quality, converted", choice("auto", kLow), { ...kPlain, converted: true }, kAll, { format: "hls", profile: "low" }],
  ["no H.264", kUsual, kPlain, kNoH264, { format: "webm_remux" }],
  ["no H.264, a film that needs none", kUsual, { ...kPlain, film: kWebm }, kNoH264, { format: "auto" }],
  ["no H.264, such a film in another language", kUsual, { ...kPlain, film: kWebm, track: true }, kNoH264, { format: "webm_remux" }],
  ["no H.264, such a film after all not", kUsual, { film: kWebm, converted: true, track: false }, kNoH264, { format: "webm_remux" }],
  ["no H.264, a film not known", kUsual, { ...kPlain, film: undefined }, kNoH264, { format: "webm_remux" }],
  ["no H.264, a quality", choice("auto", kLow), kPlain, kNoH264, { format: "webm_remux", profile: "low" }],
  ["nothing at all", kUsual, { ...kPlain, converted: true }, kNone, { format: "hls" }],
  ["by name", choice("ss"), { ...kPlain, converted: true }, kAll, { format: "ss" }],
  ["by name without H.264", choice("raw"), kPlain, kNoH264, { format: "raw" }],
  ["by name and quality", choice("webm_remux", kLow), kPlain, kAll, { format: "webm_remux", profile: "low" }],
];
for (const [name, chosen, known, can, way] of kWays) {
  test(`Delivery.IsAskedFor(${name})`, () => assert.deepEqual(wayFor(chosen, known, can), way));
}

test("Delivery.IsConvertedToWhatTheBrowserPlays", () => {
  assert.deepEqual([kAll, kNoH264, kNone].map(conversionFor), ["hls", "webm_remux", "hls"]);
});

test("Delivery.IsOfferedWhereThereIsAPlayerForIt", () => {
  const formats = (can: Abilities) => deliveriesFor(can).map(({ format }) => format);
  assert.deepEqual(formats(kAll), ["auto", "raw", "hls_remux", "hls", "ss", "webm_remux"]);
  assert.deepEqual(formats(kNoH264), ["auto", "raw", "webm_remux"]);
  assert.deepEqual(formats({ file: () => true, fragments: () => false }), ["auto", "raw", "hls_remux", "hls", "webm_remux"]);
  assert.deepEqual(formats(kNone), ["auto", "raw"]);
});

const kPlays: [string, Film | undefined, Abilities, boolean | undefined][] = [
  ["raw", kMp4, kAll, true],
  ["raw", kMp4, kNoH264, false],
  ["raw", kWebm, kNoH264, true],
  ["raw", undefined, kNoH264, undefined],
  ["raw", film("avi", "mpeg4", "mp3"), kAll, undefined],
  ["hls", kMp4, kNoH264, false],
  ["hls_remux", kMp4, kAll, true],
  ["ss", kMp4, kNoH264, false],
  ["webm_remux", kMp4, kNoH264, true],
  ["webm_remux", kMp4, kNone, false],
];
for (const [format, one, can, plays] of kPlays) {
  const ability = can === kAll ? "all" : can === kNone ? "none" : "no H.264";
  test(`Delivery.Plays(${format}, ${one?.container}, ${ability})`, () => assert.equal(playsIn(format, one, can), plays));
}

const kChanges: [string, Choice, Choice][] = [
  ["a delivery that scales keeps the quality", withDelivery(choice("auto", kLow), delivery("webm_remux")), choice("webm_remux", kLow)],
  ["one that does not lets go of it", withDelivery(choice("hls", kLow), delivery("raw")), choice("raw")],
  ["a quality keeps a delivery that scales", withQuality(choice("hls"), kLow), choice("hls", kLow)],
  ["and lets go of one that does not", withQuality(choice("ss"), kLow), choice("auto", kLow)],
  ["the original keeps every delivery", withQuality(choice("ss"), kOriginal), choice("ss")],
];
for (const [name, got, wanted] of kChanges) {
  test(`Choice.FitsTogether(${name})`, () => assert.deepEqual(got, wanted));
}

const kInstead: [string, Choice, Choice | undefined, Choice | undefined][] = [
  ["what played", choice("ss"), choice("raw"), choice("raw")],
  ["the usual when nothing did", choice("ss"), undefined, kUsual],
  ["the usual when that was it", choice("ss"), choice("ss"), kUsual],
  ["what played when the usual fails", kUsual, choice("raw"), choice("raw")],
  ["nothing", kUsual, kUsual, undefined],
  ["nothing from the beginning", kUsual, undefined, undefined],
];
for (const [name, refused, played, instead] of kInstead) {
  test(`Choice.GoesBackTo(${name})`, () => assert.deepEqual(choiceInstead(refused, played), instead));
}

test("Delivery.IsAutomaticByItself", () => assert.equal(kUsual.delivery, kAutomatic));
