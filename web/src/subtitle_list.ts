// The subtitles of a film: files beside it and streams inside it, what its menu calls them, and which one is shown when
// nobody has chosen.
import type { WebApi } from "./api.ts";
import { languageOf, nameLanguage } from "./language.ts";

// As the server lists it.
export interface ListedSubtitle {
  id: string | number; // the path of a file, or the number of a stream
  lang: string; // a code such as "de" or "ger"; may be empty
  title: string;
  format?: string; // "srt": text; "pgs", "dvdsub": pictures; absent: a file of another kind
  embedded: boolean;
  need_preview: boolean; // a stream that the server has not taken out of the film yet
  file?: string; // a file's name
  forced?: boolean;
  hearing_impaired?: boolean;
}

export interface Subtitle {
  id: string;
  language: string; // a code, may be empty
  title: string;
  file: string; // its name; empty for a stream
  embedded: boolean;
  extracted: boolean; // what the server has to take out of the film is there
  readable: boolean; // it is text, not pictures
  forced: boolean; // holds only what is not in the film's own language
  hearing_impaired: boolean;
}

export interface SubtitleWords {
  label: string;
  detail: string;
}

// Whether its charset may be another than the one that the server takes it for: all else comes in UTF-8.
export function hasCharset({ embedded, file }: { embedded: boolean; file: string }): boolean {
  return !embedded && /\.srt$/i.test(file);
}

const kPictures = new Set(["pgs", "dvdsub"]);

export function asSubtitle(listed: ListedSubtitle): Subtitle {
  const { id, lang, title, format, embedded, need_preview, file, forced, hearing_impaired } = listed;
  return {
    id: String(id),
    language: lang,
    title,
    file: embedded ? "" : (file ?? String(id).replace(/^.*\//, "")),
    embedded,
    extracted: !need_preview,
    readable: !kPictures.has(format ?? ""),
    forced: forced === true,
    hearing_impaired: hearing_impaired === true,
  };
}

// `pin`: that opens the film, if it is locked.
export async function listSubtitles(api: WebApi, film: number, pin?: string): Promise<Subtitle[]> {
  const own = { id: film, include_image: "true", pin };
  const { subtitles } = await api.post<{ subtitles: ListedSubtitle[] }>("Subtitle", "list", own);
  return subtitles.map(asSubtitle);
}

function nameOne(subtitle: Subtitle, index: number): SubtitleWords {
  const { language, title, file, forced, hearing_impaired, readable } = subtitle;
  const label = nameLanguage(language) || title || file || `Subtitle ${index + 1}`;
  const told = [label.toLowerCase(), forced && "forced", hearing_impaired && "sdh"];
  const marks = [
    !told.includes(title.toLowerCase()) && title,
    forced && "only foreign parts",
    hearing_impaired && "for the hard of hearing",
    !readable && "pictures, not available as text",
  ];
  return { label, detail: marks.filter(Boolean).join(" · ") };
}

export function nameSubtitles(subtitles: readonly Subtitle[]): SubtitleWords[] {
  const words = subtitles.map(nameOne);
  const same = (one: SubtitleWords, other: SubtitleWords) => one.label === other.label && one.detail === other.detail;
  return words.map((own, index) => {
    if (words.filter((other) => same(own, other)).length === 1) return own;
    const apart = subtitles[index]?.file || `track ${index + 1}`;
    return own.label === apart ? own : { label: own.label, detail: [own.detail, apart].filter(Boolean).join(" · ") };
  });
}

// The one for a viewer of this language; whole ones first, and plain ones before those that also tell of sounds.
export function subtitleIn(language: string, subtitles: readonly Subtitle[]): Subtitle | undefined {
  const rank = ({ forced, hearing_impaired }: Subtitle) => Number(forced) * 2 + Number(hearing_impaired);
  return subtitles
    .filter((subtitle) => subtitle.readable && languageOf(subtitle.language) === language)
    .sort((one, other) => rank(one) - rank(other))[0];
}

// What a viewer has left behind: `chosen` in this film (an id, or null for none), `language` in any film.
export interface Habits {
  chosen: string | null | undefined;
  language: string | undefined;
}

// The one to be shown by itself: the one chosen here before, one in the viewer's language, else what is said in foreign
// languages in a film whose sound he understands.
export function subtitleToBegin(subtitles: readonly Subtitle[], habits: Habits, sound: string): Subtitle | undefined {
  if (habits.chosen === null) return undefined;
  const before = subtitles.find(({ id, readable }) => readable && id === habits.chosen);
  const usual = habits.language === undefined ? undefined : subtitleIn(habits.language, subtitles);
  return before ?? usual ?? forcedIn(languageOf(sound), subtitles);
}

function forcedIn(language: string, subtitles: readonly Subtitle[]): Subtitle | undefined {
  if (language === "und") return undefined;
  return subtitleIn(language, subtitles.filter(({ forced }) => forced));
}
