// The player's keys.

export type PlayerAction =
  | { name: "toggle" | "mute" | "fullscreen" | "sound" | "quality" | "subtitles" | "toggle subtitles" | "help" | "leave" }
  | { name: "skip"; seconds: number }
  | { name: "jump"; share: number } // of the whole film, 0 to 1
  | { name: "louder"; by: number } // of full volume
  | { name: "delay"; by: number }; // of the subtitles, seconds

export interface Key {
  key: string;
  ctrlKey?: boolean;
  altKey?: boolean;
  metaKey?: boolean;
}

const kActions = new Map<string, PlayerAction>(
  Object.entries<PlayerAction>({
    " ": { name: "toggle" },
    k: { name: "toggle" },
    ArrowLeft: { name: "skip", seconds: -5 },
    ArrowRight: { name: "skip", seconds: 5 },
    j: { name: "skip", seconds: -10 },
    l: { name: "skip", seconds: 10 },
    ArrowUp: { name: "louder", by: 0.1 },
    ArrowDown: { name: "louder", by: -0.1 },
    Home: { name: "jump", share: 0 },
    End: { name: "jump", share: 1 },
    m: { name: "mute" },
    f: { name: "fullscreen" },
    a: { name: "sound" },
    q: { name: "quality" },
    s: { name: "subtitles" },
    c: { name: "toggle subtitles" },
    g: { name: "delay", by: -0.1 },
    h: { name: "delay", by: 0.1 },
    "?": { name: "help" },
    Escape: { name: "leave" },
  }),
);

export function playerAction(pressed: Key): PlayerAction | undefined {
  if (pressed.ctrlKey || pressed.altKey || pressed.metaKey) return undefined;
  if (/^[0-9]$/.test(pressed.key)) return { name: "jump", share: Number(pressed.key) / 10 };
  return kActions.get(pressed.key.length === 1 ? pressed.key.toLowerCase() : pressed.key);
}
