// docs/formats.md, written and read: the fates of films as two tables.
import { fileOf, kTables } from "./format_films.mjs";

const kIntroduction = `# Formats

What opens, for every codec in every container that Debian's ffmpeg writes. The tables are the result of a run over such
films (\`tests/clients/write_formats.mjs\`) in which each stream was decoded from beginning to end. \`./dev test\` tries a
few cells again, \`./dev test --long\` all of them.

- raw: the file as it is. Every film opens so when that is asked for by its name; here are those that browsers play.
- remux: HLS with the picture as it is (\`hls_remux\`).
- hls: HLS with the picture turned into H.264.
- In bold: what is chosen when the player leaves it open (\`auto\`).
- In brackets: what the sound is turned into, where it does not stay what it is.
- An empty cell: ffmpeg writes no such film.
`;

const kHeads = {
  pictures: "## Pictures\n\nEach beside the sound that is usual in the container.",
  sounds: "## Sound\n\nEach beside H.264.",
};

const line = (cells) => `| ${cells.join(" | ")} |`;

function toTable(table, fates) {
  const { rows, columns } = kTables[table];
  const head = [line(["", ...columns]), line(["---", ...columns.map(() => "---")])];
  const body = rows.map((row) => line([row, ...columns.map((column) => fates.get(fileOf({ table, row, column })) ?? "")]));
  return [kHeads[table], "", ...head, ...body].join("\n");
}

export function toDocument(fates) {
  const tables = Object.keys(kTables).map((table) => toTable(table, fates));
  return `${kIntroduction}\n${tables.join("\n\n")}\n`;
}

const cellsOf = (row) => row.split("|").slice(1, -1).map((cell) => cell.trim());

// What a document says: fates by the films' file names.
export function parseDocument(text) {
  const fates = new Map();
  const blocks = text.split("\n\n").filter((block) => block.startsWith("| "));
  Object.keys(kTables).forEach((table, i) => {
    const [head, , ...body] = blocks[i].trim().split("\n").map(cellsOf);
    for (const [row, ...cells] of body) {
      cells.forEach((fate, j) => fate && fates.set(fileOf({ table, row, column: head[j + 1] }), fate));
    }
  });
  return fates;
}
