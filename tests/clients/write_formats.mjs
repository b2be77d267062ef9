// Makes docs/formats.md anew: it lies in the build's folder afterwards.
//   tests/browser/run $PWD/build/dev/stage $PWD/tests/clients/write_formats.mjs
import { writeFileSync } from "node:fs";
import path from "node:path";
import { toDocument } from "./support/format_document.mjs";
import { findFates } from "./support/format_fates.mjs";
import { allCells } from "./support/format_films.mjs";

const file = path.join(path.dirname(process.env.KINORA_PREFIX), "formats.md");
writeFileSync(file, toDocument(await findFates(allCells())));
console.log(`${file} is written`);
