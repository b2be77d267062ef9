// WebVTT, read by the browser itself. What a cue says is made into elements here, one by one, so that nothing else can
// come out of it: text, bold, italic and underlined.
import { h } from "./dom.ts";

// More than that is no line of speech, but would keep the browser busy for long.
const kLongest = 1500; // characters
const kDeepest = 8; // elements within each other
const kKept = { B: "b", I: "i", U: "u" } as const;

// SubRip's own sign for a new line, with the line's end that may stand before or after it.
const kBreaks = /\n?[ \t]*(?:<br\b[^<>\n]*>[ \t]*)+\n?/gi;

// All cues that say something. Rejects when the text is no WebVTT document.
export function readWebvtt(text: string): Promise<VTTCue[]> {
  const address = URL.createObjectURL(new Blob([text.replace(kBreaks, "\n")], { type: "text/vtt" }));
  const element = h("track", { kind: "subtitles", src: address });
  // Never in the page: the film's own element loses its tracks to players of fragments.
  const host = h("video", {}, element);
  const read = new Promise<VTTCue[]>((resolve, reject) => {
    element.addEventListener("load", () => resolve([...(element.track.cues ?? [])] as VTTCue[]));
    element.addEventListener("error", () => reject(new SyntaxError("no WebVTT")));
  });
  element.track.mode = "hidden";
  return read
    .then((cues) => cues.filter((cue) => cue.text.trim() !== "" && cue.endTime > cue.startTime))
    .finally(() => {
      host.replaceChildren();
      URL.revokeObjectURL(address);
    });
}

export function cueText(cue: VTTCue): Node {
  if (cue.text.length > kLongest) return document.createTextNode(`${cue.text.slice(0, kLongest)}…`);
  return kept(cue.getCueAsHTML(), kDeepest);
}

function kept(parent: Node, depth: number): DocumentFragment {
  const fragment = document.createDocumentFragment();
  for (const node of parent.childNodes) {
    const tag = kKept[node.nodeName as keyof typeof kKept];
    if (node instanceof Text) fragment.append(node.data);
    else if (!(node instanceof Element)) continue;
    else if (depth === 0) fragment.append(node.textContent ?? "");
    else if (tag) fragment.append(h(tag, {}, kept(node, depth - 1)));
    else fragment.append(kept(node, depth - 1));
  }
  return fragment;
}
