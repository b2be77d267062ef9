// The audio tracks of a film, and how its menu shows them.
import type { WebApi } from "./api.ts";
import { nameLanguage } from "./language.ts";

export interface AudioTrack {
  id: string; // by which a stream is opened with it
  name: string; // as the file has it; may be empty
  language: string; // a code such as "de" or "ger"; may be empty
}

export interface TrackWords {
  label: string;
  detail: string;
}

// For streams that do not tell their tracks themselves.
export async function listTracks(api: WebApi, film: number, pin?: string): Promise<AudioTrack[]> {
  type Listed = { id: string; title: string; language: string };
  const { audio } = await api.post<{ audio: Listed[] }>("Film", "tracks", { id: film, pin });
  return audio.map(({ id, title, language }) => ({ id, name: title, language }));
}

// Tracks without a name or a language, with those of the same track among `named`.
export function withNames(tracks: readonly AudioTrack[], named: readonly AudioTrack[]): AudioTrack[] {
  return tracks.map((track) => {
    const same = named.find(({ id }) => id === track.id);
    return { ...track, name: track.name || (same?.name ?? ""), language: track.language || (same?.language ?? "") };
  });
}

export function nameTracks(tracks: readonly Omit<AudioTrack, "id">[]): TrackWords[] {
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
