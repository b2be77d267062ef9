// What the library says instead of films.
import { h } from "./dom.ts";
import { panel } from "./panel.ts";
import { wordsForListing } from "./words.ts";

export interface LibraryState {
  films: number;
  failure: unknown;
  search: string;
  scanning: boolean;
  administrator: boolean;
}

export type MessageKind = "none" | "failure" | "nothing found" | "scanning" | "empty";

export function messageKind(state: LibraryState): MessageKind {
  if (state.failure !== undefined) return "failure";
  if (state.films > 0) return "none";
  if (state.search !== "") return "nothing found";
  return state.scanning ? "scanning" : "empty";
}

export interface MessageSteps {
  again: () => void;
  showAll: () => void;
  scan: () => void;
}

function emptyPanel(administrator: boolean, steps: MessageSteps): HTMLElement {
  if (!administrator) {
    const detail = "There is nothing to watch yet. Whoever runs this Kinora can add a folder of videos.";
    return panel({ title: "No films yet", detail }, []);
  }
  const detail =
    "Put video files into a folder that Kinora serves; they appear here by themselves. " +
    "To serve one more folder, run this on the server:";
  const command = h("code", { class: "command" }, "kinora share add /path/to/films");
  return panel({ title: "No films yet", detail }, [{ label: "Look for new films", act: steps.scan }], { more: command });
}

export function libraryMessage(state: LibraryState, steps: MessageSteps): HTMLElement | undefined {
  const kind = messageKind(state);
  if (kind === "failure") {
    return panel(wordsForListing(state.failure), [{ label: "Try again", act: steps.again }], { alert: true });
  }
  if (kind === "nothing found") {
    const title = `Nothing matches “${state.search}”`;
    const detail = "The search looks at titles, files and folders.";
    return panel({ title, detail }, [{ label: "Show all films", act: steps.showAll }]);
  }
  if (kind === "scanning") {
    return panel({ title: "Looking for films", detail: "They appear here as they are found." }, []);
  }
  return kind === "empty" ? emptyPanel(state.administrator, steps) : undefined;
}
