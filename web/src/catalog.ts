// The films that the server knows.
import { addressOf, type WebApi } from "./api.ts";
import type { Sort } from "./router.ts";

export interface Film {
  id: number;
  title: string;
  file: string;
  folder: string;
  share: string;
  duration: number; // seconds
  container: string;
  video_codec: string;
  audio_codec: string;
  width: number;
  height: number;
  size: number; // bytes
  added: number; // seconds since the epoch
}

export interface FilmPage {
  total: number;
  videos: Film[];
}

export interface Query {
  search: string;
  sort: Sort;
}

// What the running or the last scan says of itself.
export interface Progress {
  running: boolean;
  found: number;
  looked_at: number;
  to_look_at: number;
  added: number;
  changed: number;
  moved: number;
  removed: number;
  refused: number;
  waiting: number;
  current: string;
}

// The most that one answer holds.
export const kMostPerAnswer = 1000;

export function listFilms(api: WebApi, query: Query, offset: number, limit: number, signal?: AbortSignal) {
  const own = { offset, limit, search: query.search || undefined, sort: query.sort };
  return api.get<FilmPage>("Catalog", "list", own, signal);
}

// For an address that was opened without the library: the API lists, it does not look up by id.
export async function findFilm(api: WebApi, id: number, signal?: AbortSignal): Promise<Film | undefined> {
  for (let offset = 0; ; offset += kMostPerAnswer) {
    const page = await listFilms(api, { search: "", sort: "newest" }, offset, kMostPerAnswer, signal);
    const film = page.videos.find((candidate) => candidate.id === id);
    if (film || page.videos.length === 0 || offset + kMostPerAnswer >= page.total) return film;
  }
}

export function scanProgress(api: WebApi): Promise<Progress> {
  return api.get<Progress>("Catalog", "progress");
}

export function startScan(api: WebApi): Promise<unknown> {
  return api.post("Catalog", "rescan");
}

export function pictureAddress(id: number, width: 320 | 640): string {
  return addressOf("Film", "picture", { id, width });
}

// Where a film lies, as one line.
export function placeOf(film: Pick<Film, "share" | "folder">): string {
  return [film.share, ...film.folder.split("/")].filter((part) => part !== "").join(" / ");
}
