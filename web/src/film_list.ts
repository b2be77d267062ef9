// The part of the library that is loaded: a growing run of films from the first one on, for one query.
import { kMostPerAnswer, type Film, type FilmPage, type Query } from "./catalog.ts";

export type FetchPage = (query: Query, offset: number, limit: number, signal: AbortSignal) => Promise<FilmPage>;

export interface Listing {
  films: readonly Film[];
  total: number;
  loading: boolean;
  failure: unknown; // why the last load failed, undefined if it did not
}

export class FilmList {
  private films: Film[] = [];
  private total = 0;
  private failure: unknown;
  private query: Query = { search: "", sort: "title" };
  private running: AbortController | undefined;

  constructor(
    private readonly fetchPage: FetchPage,
    private readonly onChange: (listing: Listing) => void,
    private readonly page_size = 60,
  ) {}

  get complete(): boolean {
    return this.films.length >= this.total;
  }

  // Another query: what was loaded for the old one is dropped when the new answer is there, not before.
  ask(query: Query): Promise<void> {
    this.query = query;
    return this.load((signal) => this.fetchPage(query, 0, this.page_size, signal));
  }

  // The next films. Films that moved up meanwhile are not shown twice.
  async more(): Promise<void> {
    if (this.running || this.complete) return;
    await this.load(async (signal) => {
      const page = await this.fetchPage(this.query, this.films.length, this.page_size, signal);
      const videos = [...this.films, ...page.videos];
      // An empty answer is the end, whatever the total says.
      return { videos, total: page.videos.length === 0 ? videos.length : page.total };
    });
  }

  // The same run of films as it is now on the server.
  refresh(): Promise<void> {
    const wanted = Math.max(this.films.length, this.page_size);
    const query = this.query;
    return this.load(async (signal) => {
      const all: FilmPage = { total: 0, videos: [] };
      while (all.videos.length < wanted) {
        const limit = Math.min(kMostPerAnswer, wanted - all.videos.length);
        const page = await this.fetchPage(query, all.videos.length, limit, signal);
        all.total = page.total;
        all.videos.push(...page.videos);
        if (page.videos.length < limit) break;
      }
      return all;
    });
  }

  // One load at a time: a newer one takes the older one's place, whose answer no longer counts.
  private async load(work: (signal: AbortSignal) => Promise<FilmPage>): Promise<void> {
    this.running?.abort();
    const own = new AbortController();
    this.running = own;
    this.failure = undefined;
    this.report();
    let page: FilmPage | undefined;
    let failure: unknown;
    try {
      page = await work(own.signal);
    } catch (error) {
      failure = error;
    }
    if (this.running !== own) return;
    this.running = undefined;
    this.failure = failure;
    if (page) {
      const seen = new Set<number>();
      this.films = page.videos.filter((film) => !seen.has(film.id) && seen.add(film.id));
      // Doubles that were left out must not make the list look unfinished for ever.
      this.total = Math.max(this.films.length, page.total - (page.videos.length - this.films.length));
    }
    this.report();
  }

  private report(): void {
    const { films, total, failure } = this;
    this.onChange({ films, total, loading: this.running !== undefined, failure });
  }
}
