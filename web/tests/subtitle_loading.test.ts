import assert from "node:assert/strict";
import { test } from "node:test";
import { Refusal, Unreachable } from "../src/api.ts";
import { loadSubtitle, makingOf, type Loaded, type Making } from "../src/subtitle_loading.ts";

const kMakings: [boolean, boolean, string, Making][] = [
  [true, true, "2", "nothing"],
  [true, false, "2", "extraction"],
  [false, true, "/v/a.srt", "nothing"],
  [false, true, "/v/a.SRT", "nothing"],
  [false, true, "/v/a.ass", "conversion"],
  [false, true, "/v/srt", "conversion"],
];
for (const [embedded, extracted, id, making] of kMakings) {
  test(`SubtitleLoading.KnowsWhatIsToBeDone(${id}, ${extracted})`, () =>
    assert.equal(makingOf({ embedded, extracted, id }), making));
}

// A server that is asked for the whole this often in vain, and for the first minutes.
class Server {
  readonly asked: string[] = [];
  waited = 0; // milliseconds

  constructor(
    private readonly answers: { whole: (number | Error)[]; first?: number[]; extracted?: boolean[] },
  ) {}

  async lines(preview: boolean): Promise<number[]> {
    this.asked.push(preview ? "first" : "whole");
    const given = preview ? (this.answers.first ?? []) : this.answers.whole;
    const answer = given.length > 1 ? given.shift() : given[0];
    if (answer instanceof Error) throw answer;
    return new Array<number>(answer ?? 0).fill(0);
  }

  async extracted(): Promise<boolean> {
    this.asked.push("extracted");
    return this.answers.extracted?.shift() ?? false;
  }

  async pause(milliseconds: number): Promise<void> {
    this.waited += milliseconds;
  }
}

const kGone = new Unreachable("no answer");
type Row = [string, Making, ConstructorParameters<typeof Server>[0], Loaded, number[], string];
const kRows: Row[] = [
  ["a file", "nothing", { whole: [9] }, "whole", [9], "whole"],
  ["a file that says nothing", "nothing", { whole: [0] }, "empty", [], "whole"],
  ["a file, after the server was gone", "nothing", { whole: [kGone, kGone, 9] }, "whole", [9], "whole whole whole"],
  ["a file to be converted", "conversion", { whole: [0, 0, 9] }, "whole", [9], "whole whole whole"],
  ["a stream that is there", "nothing", { whole: [9] }, "whole", [9], "whole"],
  ["a stream that is there at once", "extraction", { whole: [9], first: [0] }, "whole", [9], "first whole"],
  ["a stream, its beginning first", "extraction", { whole: [0, 0, 9], first: [0, 3] }, "whole", [3, 9],
    "first whole first whole extracted whole"],
  ["a stream that says nothing", "extraction", { whole: [0], extracted: [true] }, "empty", [],
    "first whole first whole extracted whole"],
  ["a stream that came between two questions", "extraction", { whole: [0, 0, 9], extracted: [true] }, "whole", [9],
    "first whole first whole extracted whole"],
];
for (const [what, making, answers, loaded, shown, asked] of kRows) {
  test(`SubtitleLoading.Loads(${what})`, async () => {
    const server = new Server(answers);
    const seen: number[] = [];
    assert.equal(await loadSubtitle(server, making, (lines) => seen.push(lines.length)), loaded);
    assert.deepEqual(seen, shown);
    assert.equal(server.asked.join(" "), asked);
  });
}

const kEnds: [string, Making, ConstructorParameters<typeof Server>[0], Loaded, number][] = [
  ["conversion", "conversion", { whole: [0] }, "empty", 21_000],
  ["extraction", "extraction", { whole: [0] }, "late", 301_000],
  ["extraction of which the beginning came", "extraction", { whole: [0], first: [3] }, "begun", 301_000],
];
for (const [what, making, answers, loaded, waited] of kEnds) {
  test(`SubtitleLoading.GivesUpAfterPatience(${what})`, async () => {
    const server = new Server(answers);
    assert.equal(await loadSubtitle(server, making, () => undefined), loaded);
    assert.equal(server.waited, waited);
    assert.ok(server.asked.length <= 3 * 36, `${server.asked.length} questions`);
  });
}

test("SubtitleLoading.FailsWhenTheServerStaysAway", async () => {
  const server = new Server({ whole: [kGone] });
  await assert.rejects(loadSubtitle(server, "nothing", () => undefined), Unreachable);
  assert.equal(server.waited, 21_000);
});

test("SubtitleLoading.FailsAtOnceWhenItIsRefused", async () => {
  const server = new Server({ whole: [new Refusal(105, "")] });
  await assert.rejects(loadSubtitle(server, "conversion", () => undefined), Refusal);
  assert.deepEqual(server.asked, ["whole"]);
});
