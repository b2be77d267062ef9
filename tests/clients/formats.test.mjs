// Films of many codecs and containers open as docs/formats.md says. All of them with KINORA_FAULTS_LONG, else a few.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";
import { parseDocument } from "./support/format_document.mjs";
import { findFates } from "./support/format_fates.mjs";
import { allCells, fileOf } from "./support/format_films.mjs";

const kAll = process.env.KINORA_FAULTS_LONG !== undefined;

const kDocumented = parseDocument(readFileSync(new URL("../../docs/formats.md", import.meta.url), "utf8"));

// As it is, copied, copied with and without the sound, copied on request alone, encoded.
const kFew = [
  ["pictures", "H.264 interlaced", "MPEG-TS"],
  ["pictures", "HEVC 10 bits", "M2TS"],
  ["pictures", "MPEG-4 advanced simple", "AVI"],
  ["sounds", "AC-3 and MP3", "MKV"],
  ["sounds", "none", "MOV"],
].map(([table, row, column]) => ({ table, row, column }));

const inOrder = (fates) => Object.fromEntries([...fates].sort(([a], [b]) => a.localeCompare(b)));

test("Formats.ThatAreDocumentedAllOpen", () => {
  assert.ok(kDocumented.size > 200, `${kDocumented.size} films`);
  const broken = [...kDocumented].filter(([, fate]) => /broken|no film/.test(fate));
  assert.deepEqual(broken, []);
});

test(`Formats.OpenAsDocumented(${kAll ? "all" : "a few"})`, async () => {
  const cells = kAll ? allCells() : kFew;
  const films = new Set(cells.map(fileOf));
  const fates = await findFates(cells);
  assert.deepEqual(inOrder(fates), inOrder([...kDocumented].filter(([film]) => films.has(film))));
});
