// The page as a whole: who is signed in, and which view the address means.
import { WebApi } from "./api.ts";
import { h } from "./dom.ts";
import { LibraryView } from "./library_view.ts";
import { Notices } from "./notices.ts";
import { panel } from "./panel.ts";
import { PlayerView } from "./player_view.ts";
import { PositionStore } from "./positions.ts";
import { formatRoute, kLibrary, parseRoute, type LibraryRoute, type Route } from "./router.ts";
import { signInByWelcome, signOut, whoAmI, type Account } from "./session.ts";
import { SignInView } from "./sign_in_view.ts";
import { SubtitleStore } from "./subtitle_store.ts";
import { takeWelcome } from "./welcome.ts";
import { wordsForListing } from "./words.ts";

const kUsedUp = "This start address has been used or is too old. Sign in with name and password.";
const kEnded = "Your session has ended. Sign in to go on.";

export class App {
  private readonly api = new WebApi();
  private readonly notices = new Notices();
  private readonly stage = h("div", { class: "stage" });
  private account: Account | undefined;
  private film_library: LibraryView | undefined;
  private player: PlayerView | undefined;
  private current: Route | undefined;
  private came_from_library = false;
  private last_library: LibraryRoute = kLibrary;

  constructor(root: Element) {
    root.append(this.stage, this.notices.element);
    this.api.onSessionEnd = () => {
      if (this.account) this.showSignIn(kEnded);
    };
    window.addEventListener("hashchange", () => this.route());
  }

  async start(): Promise<void> {
    const welcome = takeWelcome(location.href);
    // At once: the secret must not stay in the history, whatever comes of it.
    if (welcome) history.replaceState(null, "", welcome.rest);
    let hint = "";
    try {
      const account = await this.enter(welcome?.secret, () => (hint = kUsedUp));
      if (account) this.signedIn(account);
      else this.showSignIn(hint);
    } catch (error) {
      const again = { label: "Try again", act: () => void this.start() };
      this.stage.replaceChildren(h("main", { class: "message" }, panel(wordsForListing(error), [again], { alert: true })));
    }
  }

  private async enter(secret: string | undefined, onUsedUp: () => void): Promise<Account | undefined> {
    if (secret !== undefined) {
      try {
        return await signInByWelcome(this.api, secret);
      } catch {
        onUsedUp();
      }
    }
    return whoAmI(this.api);
  }

  private signedIn(account: Account): void {
    this.account = account;
    this.stage.replaceChildren();
    this.route();
  }

  private showSignIn(hint: string): void {
    this.leaveViews();
    this.account = undefined;
    const view = new SignInView(this.api, (account) => this.signedIn(account), hint);
    this.stage.replaceChildren(view.element);
    view.shown();
  }

  private leaveViews(): void {
    this.player?.dispose();
    this.film_library?.dispose();
    this.player = undefined;
    this.film_library = undefined;
    this.current = undefined;
  }

  private async signOut(): Promise<void> {
    try {
      await signOut(this.api);
      this.showSignIn("");
    } catch {
      this.notices.show("Signing out did not work. Try again.");
    }
  }

  private route(): void {
    if (!this.account) return;
    const route = parseRoute(location.hash);
    this.notices.clear();
    this.player?.dispose();
    this.player = undefined;
    this.came_from_library = this.current?.view === "library";
    this.current = route;
    if (route.view === "library") this.showLibrary(route);
    else this.showFilm(route.id);
  }

  private showLibrary(route: LibraryRoute): void {
    this.last_library = route;
    if (!this.film_library) {
      this.film_library = new LibraryView({
        api: this.api,
        account: this.account as Account,
        positions: this.positions,
        notices: this.notices,
        signOut: () => void this.signOut(),
      });
      this.stage.append(this.film_library.element);
    }
    this.film_library.enter(route);
  }

  private showFilm(id: number): void {
    const film = this.film_library?.film(id);
    if (this.film_library && !this.film_library.element.hidden) this.film_library.leave(id);
    const { api, positions } = this;
    const subtitles = new SubtitleStore((this.account as Account).id);
    this.player = new PlayerView({ api, positions, subtitles, film, id, leave: () => this.leaveFilm() });
    this.stage.append(this.player.element);
    this.player.shown();
  }

  // The way the viewer came, so that the history does not fill with returns.
  private leaveFilm(): void {
    if (this.came_from_library) history.back();
    else location.hash = formatRoute(this.last_library);
  }

  private get positions(): PositionStore {
    return new PositionStore((this.account as Account).id);
  }
}
