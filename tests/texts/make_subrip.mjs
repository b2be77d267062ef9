// make_subrip FOLDER COUNT: well-formed SubRip files with times and texts made up, always the same ones.
import { writeFileSync } from "node:fs";
import { join } from "node:path";

const [folder, count] = process.argv.slice(2);
const words = "sea lamp tower Größe straße où ночь звезда 星 灯 바다 😀 1984 10,5 “so” – … <i>slowly</i> {\\an8} a:b -> ? !".split(" ");

let state = 1;
const below = (limit) => {
  state = (state * 48271) % 2147483647;
  return state % limit;
};

const clock = (ms) => {
  const field = (value, digits) => String(value).padStart(digits, "0");
  return `${field(Math.floor(ms / 3600000), 2)}:${field(Math.floor(ms / 60000) % 60, 2)}:${field(Math.floor(ms / 1000) % 60, 2)},${field(ms % 1000, 3)}`;
};

const line = () => `so ${Array.from({ length: 1 + below(6) }, () => words[below(words.length)]).join(" ")}`;

for (let file = 0; file < Number(count); ++file) {
  let text = "";
  let start = 0;
  for (let cue = 1; cue <= 12; ++cue) {
    start += below(5000);
    const lines = Array.from({ length: 1 + below(3) }, line).join("\n");
    text += `${cue}\n${clock(start)} --> ${clock(start + 1 + below(9000))}\n${lines}\n\n`;
  }
  writeFileSync(join(folder, `made-up-${file}.srt`), text);
}
