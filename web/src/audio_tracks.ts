// The audio tracks of a film as its menu shows them.

export interface AudioTrack {
  name: string; // as the file has it; may be empty
  language: string; // a code such as "de" or "ger"; may be empty
}

export interface TrackWords {
  label: string;
  detail: string;
}

const kLanguages = new Intl.DisplayNames(["en"], { type: "language", fallback: "none" });

// Empty for what is no language.
export function nameLanguage(code: string): string {
  try {
    return kLanguages.of(code) ?? "";
  } catch {
    return "";
  }
}

export function nameTracks(tracks: readonly AudioTrack[]): TrackWords[] {
  const words = tracks.map(({ name, language }, index) => {
    const spoken = nameLanguage(language);
    if (spoken === "") return { label: name || `Track ${index + 1}`, detail: "" };
    return { label: spoken, detail: name.toLowerCase() === spoken.toLowerCase() ? "" : name };
  });
  const same = (one: TrackWords, other: TrackWords) => one.label === other.label && one.detail === other.detail;
  return words.map((own, index) => {
    const alone = words.filter((other) => same(own, other)).length === 1;
    return alone ? own : { label: own.label, detail: [own.detail, `track ${index + 1}`].filter(Boolean).join(", ") };
  });
}
