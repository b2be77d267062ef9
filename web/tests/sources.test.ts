// Names and titles come from files that anybody may have named: they become text, never markup.
import assert from "node:assert/strict";
import { readdirSync, readFileSync } from "node:fs";
import { test } from "node:test";

const kParsesMarkup = /innerHTML|outerHTML|insertAdjacentHTML|document\.write|DOMParser|srcdoc|createContextualFragment|\beval\b|new Function/;
const kSources = readdirSync("src").filter((name) => name.endsWith(".ts"));

test("Sources.AreFound", () => assert.ok(kSources.includes("main.ts")));

for (const name of kSources) {
  test(`Sources.ParseNoMarkup(${name})`, () => assert.doesNotMatch(readFileSync(`src/${name}`, "utf8"), kParsesMarkup));
}
