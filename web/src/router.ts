// The page's own addresses, kept behind the "#" so that the server serves one document:
//   #/?search=WORDS&sort=newest   the library
//   #/film/12                     the player

export const kSorts = ["title", "newest", "duration", "size"] as const;
export type Sort = (typeof kSorts)[number];

export interface LibraryRoute {
  view: "library";
  search: string;
  sort: Sort;
}

export interface FilmRoute {
  view: "film";
  id: number;
}

export type Route = LibraryRoute | FilmRoute;

export const kLibrary: LibraryRoute = { view: "library", search: "", sort: "title" };

// Whatever is not understood leads to the library.
export function parseRoute(hash: string): Route {
  const [path = "", query = ""] = hash.replace(/^#/, "").split("?", 2);
  const film = /^\/film\/([1-9][0-9]{0,9})$/.exec(path);
  if (film) return { view: "film", id: Number(film[1]) };
  const own = new URLSearchParams(query);
  const sort = kSorts.find((known) => known === own.get("sort"));
  return { view: "library", search: own.get("search") ?? "", sort: sort ?? "title" };
}

export function formatRoute(route: Route): string {
  if (route.view === "film") return `#/film/${route.id}`;
  const own = new URLSearchParams();
  if (route.search) own.set("search", route.search);
  if (route.sort !== "title") own.set("sort", route.sort);
  const query = own.toString();
  return query ? `#/?${query}` : "#/";
}
