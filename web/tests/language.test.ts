import assert from "node:assert/strict";
import { test } from "node:test";
import { languageOf, nameLanguage } from "../src/language.ts";

const kNames: [string, string][] = [
  ["de", "German"],
  ["ger", "German"],
  ["fre", "French"],
  ["und", ""],
  ["", ""],
  ["no language", ""],
  ["<b>", ""],
];
for (const [code, name] of kNames) {
  test(`Language.IsNamed(${code})`, () => assert.equal(nameLanguage(code), name));
}

const kSame: [string, string][] = [
  ["de", "de"],
  ["ger", "de"],
  ["deu", "de"],
  ["de-AT", "de"],
  ["DE", "de"],
  ["chi", "zh"],
  ["zh-TW", "zh"],
  ["und", "und"],
  ["", "und"],
  ["no language", "und"],
];
for (const [code, language] of kSame) {
  test(`Language.IsTheSameByEveryCode(${code})`, () => assert.equal(languageOf(code), language));
}
