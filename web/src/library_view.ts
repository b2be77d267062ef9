// The library: all films as a grid, which grows while it is scrolled and changes while the server scans.
import { AccountMenu } from "./account_menu.ts";
import type { WebApi } from "./api.ts";
import { kMostPerAnswer, listFilms, scanProgress, startScan, type Film } from "./catalog.ts";
import { dialogIsOpen, showHelp, type KeyTable } from "./dialogs.ts";
import { h, takesText } from "./dom.ts";
import { FilmGrid } from "./film_grid.ts";
import { FilmList, type Listing } from "./film_list.ts";
import { plural } from "./format.ts";
import { libraryMessage, messageKind } from "./library_message.ts";
import type { Notices } from "./notices.ts";
import type { PositionStore } from "./positions.ts";
import { formatRoute, kLibrary, type LibraryRoute } from "./router.ts";
import { ScanBanner } from "./scan_banner.ts";
import { outcome, ScanWatch } from "./scan_watch.ts";
import type { Account } from "./session.ts";
import { Toolbar } from "./toolbar.ts";

const kKeys: KeyTable = [
  [["/"], "search"],
  [["←", "→", "↑", "↓"], "from film to film"],
  [["Enter"], "watch the film"],
  [["Esc"], "empty the search"],
  [["?"], "this help"],
];

// How far below the visible part the next films are fetched.
const kAhead = "1200px";

export interface LibraryContext {
  api: WebApi;
  account: Account;
  positions: PositionStore;
  notices: Notices;
  signOut: () => void;
}

export class LibraryView {
  readonly element: HTMLElement;
  private readonly list: FilmList;
  private readonly grid = new FilmGrid();
  private readonly banner = new ScanBanner();
  private readonly watch: ScanWatch;
  private readonly menu: AccountMenu;
  private readonly toolbar: Toolbar;
  private readonly count = h("p", { class: "count", role: "status", "aria-live": "polite" });
  private readonly message = h("div", { class: "message" });
  private readonly more = h("button", { type: "button", class: "button quiet more", hidden: true }, "Show more");
  private readonly end = new IntersectionObserver((entries) => this.reached(entries), { rootMargin: kAhead });
  private listing: Listing | undefined;
  private route: LibraryRoute = kLibrary;
  private asked = false;
  private scanning = false;
  private place = { film: 0, top: 0 }; // the film that was opened, and where its card stood in the window

  constructor(private readonly context: LibraryContext) {
    const { api } = context;
    this.list = new FilmList(
      (query, offset, limit, signal) => listFilms(api, query, offset, limit, signal),
      (listing) => this.show(listing),
    );
    this.menu = new AccountMenu(context.account, this.menuEntries());
    this.toolbar = new Toolbar(this.menu, {
      query: (query) => this.change(query),
      done: () => this.grid.focusFirst(),
    });
    this.watch = new ScanWatch(() => scanProgress(api), {
      progress: (progress) => {
        this.scanning = progress.running;
        this.banner.show(progress);
        this.showMessage();
      },
      change: () => this.changedOnServer(),
      end: (progress) => {
        void this.list.refresh();
        context.notices.show(outcome(progress) || "No new films were found.");
      },
    });
    this.more.addEventListener("click", () => void this.list.more());
    const main = h("main", {}, this.banner.element, this.count, this.message, this.grid.element, this.more);
    this.element = h("div", { class: "film-library" }, this.toolbar.element, main);
  }

  // The view becomes visible, or its address changed.
  enter(route: LibraryRoute): void {
    document.title = route.search ? `${route.search} – Kinora` : "Kinora";
    const other = !this.asked || route.search !== this.route.search || route.sort !== this.route.sort;
    this.route = route;
    this.toolbar.show(route);
    if (this.element.hidden || !this.asked) this.wake();
    if (!other) return;
    this.asked = true;
    void this.list.ask({ search: route.search, sort: route.sort });
  }

  // A film takes the page; the library keeps its place.
  leave(film: number): void {
    this.place = { film, top: this.grid.topOf(film) };
    this.sleep();
  }

  dispose(): void {
    this.sleep();
    this.menu.dispose();
    this.element.remove();
  }

  film(id: number): Film | undefined {
    return this.listing?.films.find((film) => film.id === id);
  }

  private wake(): void {
    this.element.hidden = false;
    this.grid.showPositions(this.context.positions.all());
    this.watch.start();
    this.end.observe(this.more);
    document.addEventListener("keydown", this.keyed);
    this.grid.bringBack(this.place.film, this.place.top);
  }

  private sleep(): void {
    this.element.hidden = true;
    this.watch.stop();
    this.end.disconnect();
    document.removeEventListener("keydown", this.keyed);
  }

  private menuEntries() {
    const rescan = { label: "Look for new films", act: () => void this.rescan() };
    return [
      ...(this.context.account.administrator ? [rescan] : []),
      { label: "Keys", act: () => this.help() },
      { label: "Sign out", act: this.context.signOut },
    ];
  }

  private change(query: Omit<LibraryRoute, "view">): void {
    if (query.search === this.route.search && query.sort === this.route.sort) return;
    // Typing is no journey: "back" leads out of the library, not through every letter.
    const route: LibraryRoute = { view: "library", ...query };
    history.replaceState(null, "", formatRoute(route));
    this.enter(route);
    window.scrollTo(0, 0);
  }

  // A long list is fetched anew once, when the scan is over, not every second.
  private changedOnServer(): void {
    const loaded = this.listing?.films.length ?? 0;
    if (!this.scanning || loaded <= kMostPerAnswer) void this.list.refresh();
  }

  private async rescan(): Promise<void> {
    try {
      await startScan(this.context.api);
      this.context.notices.show("Looking for new films.");
      await this.watch.expect();
    } catch {
      this.context.notices.show("The scan could not be started.");
    }
  }

  private show(listing: Listing): void {
    this.listing = listing;
    const first = listing.loading && listing.films.length === 0;
    if (first) this.grid.showSkeletons();
    else this.grid.show(listing.films, this.context.positions.all());
    this.grid.element.setAttribute("aria-busy", String(listing.loading));
    if (!listing.loading) this.count.textContent = this.countWords(listing);
    this.more.hidden = this.list.complete || listing.failure !== undefined;
    this.showMessage();
    // The observer speaks only when the end comes into view; it may have stayed there.
    this.end.unobserve(this.more);
    this.end.observe(this.more);
  }

  private countWords({ total, failure }: Listing): string {
    if (failure !== undefined || total === 0) return "";
    return this.route.search ? `${plural(total, "film")} for “${this.route.search}”` : plural(total, "film");
  }

  private showMessage(): void {
    const listing = this.listing;
    if (!listing || listing.loading) return;
    const state = {
      films: listing.films.length,
      failure: listing.failure,
      search: this.route.search,
      scanning: this.scanning,
      administrator: this.context.account.administrator,
    };
    // The same message stays the same element, so that a button in it keeps the focus.
    const shown = `${messageKind(state)} ${state.search}`;
    if (this.message.dataset.shown === shown) return;
    this.message.dataset.shown = shown;
    const message = libraryMessage(state, {
      again: () => void this.list.refresh(),
      showAll: () => this.change({ ...this.route, search: "" }),
      scan: () => void this.rescan(),
    });
    this.message.replaceChildren(...(message ? [message] : []));
  }

  private reached(entries: IntersectionObserverEntry[]): void {
    if (entries.some((entry) => entry.isIntersecting) && this.listing?.failure === undefined) void this.list.more();
  }

  private help(): void {
    showHelp("Keys in the library", kKeys, document.body);
  }

  private readonly keyed = (event: KeyboardEvent): void => {
    if (takesText(event.target) || dialogIsOpen() || event.ctrlKey || event.altKey || event.metaKey) return;
    if (event.key === "/") {
      event.preventDefault();
      this.toolbar.focusSearch();
    } else if (event.key === "?") {
      this.help();
    }
  };
}
