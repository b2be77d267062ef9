// What a viewer has chosen about subtitles, kept in this browser for each account: size and language for all films, and
// for the films seen last which subtitle, its charset and its delay.

export const kSizes = [
  { name: "small", label: "Small", factor: 0.8 },
  { name: "medium", label: "Medium", factor: 1 },
  { name: "large", label: "Large", factor: 1.3 },
  { name: "huge", label: "Huge", factor: 1.7 },
] as const;

export type SizeName = (typeof kSizes)[number]["name"];

// Of one subtitle of one film.
export interface Tuning {
  charset?: string;
  delay?: number; // seconds; above 0: it comes later
}

export interface FilmHabits {
  chosen?: string | null; // a subtitle's id; null: none
  tuned?: Record<string, Tuning>; // by the subtitle's id
  saved: number; // milliseconds since the epoch
}

export interface SubtitleHabits {
  size: SizeName;
  language?: string; // of the subtitles chosen last; absent: none were wanted
  films: Record<string, FilmHabits>;
}

const kMostKept = 200;
const kFurthest = 300; // seconds of delay

export function boundDelay(seconds: number): number {
  return Math.min(kFurthest, Math.max(-kFurthest, Math.round(seconds * 10) / 10));
}

const isRecord = (value: unknown): value is Record<string, unknown> =>
  typeof value === "object" && value !== null && !Array.isArray(value);

function readTuning(stored: unknown): Tuning {
  if (!isRecord(stored)) return {};
  const { charset, delay } = stored;
  return {
    ...(typeof charset === "string" && { charset }),
    ...(Number.isFinite(delay) && { delay: boundDelay(delay as number) }),
  };
}

function readFilm(stored: unknown): FilmHabits {
  const { chosen, tuned, saved } = isRecord(stored) ? stored : {};
  const tunings = isRecord(tuned) ? Object.entries(tuned).map(([id, one]) => [id, readTuning(one)] as const) : [];
  return {
    ...((typeof chosen === "string" || chosen === null) && { chosen }),
    tuned: Object.fromEntries(tunings),
    saved: Number.isFinite(saved) ? (saved as number) : 0,
  };
}

// What was stored may be from another version, or written by hand.
export function readHabits(text: string | null): SubtitleHabits {
  let stored: unknown;
  try {
    stored = JSON.parse(text ?? "{}");
  } catch {
    // as if nothing were stored
  }
  const { size, language, films } = isRecord(stored) ? stored : {};
  return {
    size: kSizes.find(({ name }) => name === size)?.name ?? "medium",
    ...(typeof language === "string" && { language }),
    films: Object.fromEntries(Object.entries(isRecord(films) ? films : {}).map(([id, one]) => [id, readFilm(one)])),
  };
}

export function withFilm(habits: SubtitleHabits, film: number, own: FilmHabits): SubtitleHabits {
  const films: Record<string, FilmHabits> = { ...habits.films, [film]: own };
  const latest = Object.entries(films).sort(([, one], [, other]) => other.saved - one.saved);
  return { ...habits, films: Object.fromEntries(latest.slice(0, kMostKept)) };
}

export class SubtitleStore {
  private readonly key: string;

  constructor(account: number) {
    this.key = `kinora.subtitles.${account}`;
  }

  get habits(): SubtitleHabits {
    try {
      return readHabits(localStorage.getItem(this.key));
    } catch {
      return readHabits(null); // the browser keeps nothing for this page
    }
  }

  film(id: number): FilmHabits {
    return this.habits.films[id] ?? { saved: 0 };
  }

  tuning(film: number, subtitle: string): Tuning {
    return this.film(film).tuned?.[subtitle] ?? {};
  }

  saveSize(size: SizeName): void {
    this.save({ ...this.habits, size });
  }

  // `language` goes for other films, too.
  saveChosen(film: number, chosen: string | null, language: string | undefined): void {
    const { language: _, ...others } = this.habits;
    const habits = language === undefined ? others : { ...others, language };
    this.save(withFilm(habits, film, { ...this.film(film), chosen, saved: Date.now() }));
  }

  saveTuning(film: number, subtitle: string, tuning: Tuning): void {
    const before = this.film(film);
    const tuned = { ...before.tuned, [subtitle]: { ...before.tuned?.[subtitle], ...tuning } };
    this.save(withFilm(this.habits, film, { ...before, tuned, saved: Date.now() }));
  }

  private save(habits: SubtitleHabits): void {
    try {
      localStorage.setItem(this.key, JSON.stringify(habits));
    } catch {
      // Full or forbidden: it holds until the film is left.
    }
  }
}
