// How a subtitle comes from the server, as a whole. What lies inside the film has to be taken out first, which takes as
// long as reading the film; until that is done the answer holds no line. So the film's first minutes, which are there
// sooner, are asked for, too, and shown until the rest is there.
import { Unreachable } from "./api.ts";

// Of a server that works on it, or does not answer.
const kPauses = [500, 1000, 1500, 2000, 3000, 5000, 8000]; // milliseconds; 21 s in all
const kLongPauses = [...kPauses, ...new Array<number>(28).fill(10_000)]; // 5 minutes, the longest that it works

// What the server has to do for a subtitle before it can answer.
export type Making = "nothing" | "conversion" | "extraction";

export function makingOf({ embedded, extracted, id }: { embedded: boolean; extracted: boolean; id: string }): Making {
  if (embedded) return extracted ? "nothing" : "extraction";
  return /\.srt$/i.test(id) ? "nothing" : "conversion";
}

export interface SubtitleServer<Cue> {
  lines(preview: boolean): Promise<readonly Cue[]>;
  extracted(): Promise<boolean>;
  pause(milliseconds: number): Promise<void>;
}

export type Loaded =
  | "whole"
  | "begun" // nothing but the first minutes came
  | "empty" // it says nothing
  | "late"; // the server still works on it

// Gives what is there to `show`, once or twice. Throws what `server` throws; Unreachable after patience.
export async function loadSubtitle<Cue>(
  server: SubtitleServer<Cue>,
  making: Making,
  show: (lines: readonly Cue[]) => void,
): Promise<Loaded> {
  const pauses = making === "extraction" ? kLongPauses : kPauses;
  let begun = false;
  let done = making === "nothing";
  for (let round = 0; round <= pauses.length; round += 1) {
    let pause = pauses[round]; // none after the last round
    try {
      if (!done && making === "extraction" && !begun) {
        const first = await server.lines(true);
        begun = first.length > 0;
        if (begun) show(first);
      }
      const lines = await server.lines(false);
      if (lines.length > 0) {
        show(lines);
        return "whole";
      }
      if (done) return begun ? "begun" : "empty";
      // A track that says nothing looks like one that is not there yet, and each question would begin anew.
      if (making === "extraction" && round > 0) done = await server.extracted();
      if (done) pause = 0;
    } catch (error) {
      if (!(error instanceof Unreachable) || pause === undefined) throw error;
    }
    if (pause !== undefined) await server.pause(pause);
  }
  if (begun) return "begun";
  return making === "extraction" ? "late" : "empty";
}
