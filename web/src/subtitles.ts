// The subtitles of the film that is being played: which one is shown, and how.
import type { WebApi } from "./api.ts";
import { languageOf } from "./language.ts";
import type { Offer } from "./notices.ts";
import { OutsideSubtitle } from "./outside_subtitle.ts";
import { hasCharset, listSubtitles, nameSubtitles, subtitleIn, subtitleToBegin, type Subtitle } from "./subtitle_list.ts";
import { loadSubtitle, makingOf } from "./subtitle_loading.ts";
import { SubtitleMenu } from "./subtitle_menu.ts";
import { kDetected, listCharsets, readsTraditional, readTraditional, subtitleServer, type Charset } from "./subtitle_request.ts";
import { SubtitleScreen } from "./subtitle_screen.ts";
import { boundDelay, kSizes, type SizeName, type SubtitleStore } from "./subtitle_store.ts";
import { sayDelay, wordsForLosingSubtitle, wordsForSubtitle } from "./words.ts";

export interface SubtitleContext {
  api: WebApi;
  film: number;
  pin: () => string | undefined; // that opened the film
  store: SubtitleStore;
  video: HTMLVideoElement;
  clock: () => number; // seconds into the film, of what is seen right now
  tell: (text: string, offer?: Offer) => void;
  move: () => void; // the menu was opened or closed
}

export class Subtitles {
  private all: readonly Subtitle[] = [];
  private charsets: readonly Charset[] = [];
  private traditional: boolean | undefined; // simplified Chinese is turned into it; undefined: it is not known
  private chosen: Subtitle | undefined;
  private last: Subtitle | undefined; // that the viewer had before he turned them off
  private charset = kDetected;
  private delay = 0;
  private size: SizeName;
  private sound = ""; // the language that is heard
  private decided = false; // the viewer has chosen, be it none
  private begun = false;
  private loading = new AbortController();
  private readonly screen: SubtitleScreen;
  private readonly outside: OutsideSubtitle;
  readonly menu: SubtitleMenu;

  constructor(private readonly context: SubtitleContext) {
    const { store, video, clock } = context;
    this.screen = new SubtitleScreen(video, clock);
    this.outside = new OutsideSubtitle(video, this.screen);
    this.menu = new SubtitleMenu({
      pick: (entry) => this.choose(this.all[entry]),
      charset: (name) => this.changeCharset(name),
      size: (size) => this.changeSize(size),
      delay: (seconds) => this.changeDelay(seconds),
      traditional: (wanted) => void this.changeScript(wanted),
      move: () => context.move(),
    });
    this.size = store.habits.size;
    this.changeSize(this.size);
  }

  get element(): HTMLElement {
    return this.screen.element;
  }

  // The film is seen; asked any earlier, the server would keep it waiting. Again for each stream of it.
  async begin(): Promise<void> {
    if (this.begun) return;
    this.begun = true;
    const { api, film, pin } = this.context;
    try {
      this.all = await listSubtitles(api, film, pin());
    } catch {
      this.begun = false; // with the next stream
      return;
    }
    this.showChoice();
    this.decide();
    await this.learn();
  }

  // What the menu offers for files and for Chinese. Without an answer it does not.
  private async learn(): Promise<void> {
    const { api } = this.context;
    if (this.all.some(hasCharset)) this.charsets = await listCharsets(api).catch(() => []);
    if (this.all.some(isChinese)) this.traditional = await readsTraditional(api).catch(() => undefined);
    this.showChoice();
  }

  // In which language the film is heard now.
  heard(language: string): void {
    if (language === this.sound) return;
    this.sound = language;
    this.decide();
  }

  dispose(): void {
    this.loading.abort();
    this.screen.dispose();
    this.outside.dispose();
  }

  // Off, or on as it was last.
  toggle(): void {
    const { language } = this.context.store.habits;
    const readable = this.all.filter((one) => one.readable);
    const usual = language === undefined ? undefined : subtitleIn(language, readable);
    const wanted = this.chosen ? undefined : (this.last ?? usual ?? readable.find(({ forced }) => !forced) ?? readable[0]);
    if (!this.chosen && !wanted) {
      this.context.tell("This film has no subtitles.");
      return;
    }
    this.choose(wanted);
    this.context.tell(wanted ? `Subtitles: ${this.nameOf(wanted)}` : "Subtitles off");
  }

  shift(by: number): void {
    if (!this.chosen) return;
    this.changeDelay(this.delay + by);
    this.context.tell(sayDelay(this.delay));
  }

  private decide(): void {
    if (this.decided || this.all.length === 0) return;
    const { film, store } = this.context;
    const { chosen } = store.film(film);
    const wanted = subtitleToBegin(this.all, { chosen, language: store.habits.language }, this.sound);
    if (wanted !== this.chosen) this.change(wanted);
  }

  private choose(subtitle: Subtitle | undefined): void {
    const { film, store } = this.context;
    this.decided = true;
    this.last = subtitle ?? this.chosen;
    store.saveChosen(film, subtitle?.id ?? null, subtitle && languageOf(subtitle.language));
    this.change(subtitle);
  }

  private change(subtitle: Subtitle | undefined): void {
    const { film, store } = this.context;
    const tuning = subtitle ? store.tuning(film, subtitle.id) : {};
    this.chosen = subtitle;
    this.charset = tuning.charset ?? kDetected;
    this.delay = tuning.delay ?? 0;
    this.screen.setDelay(this.delay);
    this.screen.clear();
    this.showChoice();
    void this.load();
  }

  private changeCharset(name: string): void {
    const { film, store } = this.context;
    if (!this.chosen) return;
    this.charset = name;
    store.saveTuning(film, this.chosen.id, { charset: name });
    this.showChoice();
    void this.load();
  }

  private changeDelay(seconds: number): void {
    const { film, store } = this.context;
    if (!this.chosen) return;
    this.delay = boundDelay(seconds);
    store.saveTuning(film, this.chosen.id, { delay: this.delay });
    this.screen.setDelay(this.delay);
    this.showChoice();
  }

  private changeSize(size: SizeName): void {
    this.size = size;
    if (size !== this.context.store.habits.size) this.context.store.saveSize(size);
    this.screen.setSize(kSizes.find(({ name }) => name === size)?.factor ?? 1);
    this.showChoice();
  }

  private async changeScript(wanted: boolean): Promise<void> {
    try {
      await readTraditional(this.context.api, wanted);
    } catch {
      this.context.tell("The characters could not be changed. Try again.");
      return;
    }
    this.traditional = wanted;
    this.showChoice();
    void this.load();
  }

  // What is shown stays until something else is there.
  private async load(): Promise<void> {
    const { api, film, pin, tell } = this.context;
    const { charset, chosen } = this;
    this.loading.abort();
    this.loading = new AbortController();
    const { signal } = this.loading;
    if (!chosen) return;
    this.screen.showLoading(true);
    try {
      const server = subtitleServer(api, { film, pin: pin(), subtitle: chosen, charset }, signal);
      const came = await loadSubtitle(server, makingOf(chosen), (cues) => this.screen.show(cues, chosen.language));
      if (came === "whole") return;
      if (came === "empty") this.screen.clear();
      const charsets = came === "empty" && hasCharset(chosen) && this.charsets.length > 0;
      tell(wordsForSubtitle(came, hasCharset(chosen)), charsets ? { label: "Charset", act: () => this.menu.openCharsets() } : undefined);
    } catch (error) {
      if (signal.aborted) return;
      tell(wordsForLosingSubtitle(error));
    } finally {
      if (!signal.aborted) this.screen.showLoading(false);
    }
  }

  private nameOf(subtitle: Subtitle): string {
    return nameSubtitles(this.all)[this.all.indexOf(subtitle)]?.label ?? "";
  }

  private showChoice(): void {
    const { all, chosen, charset, delay, size, traditional } = this;
    this.menu.offer({
      entries: nameSubtitles(all).map((words, index) => ({ ...words, readable: all[index]?.readable ?? false })),
      chosen: chosen ? all.indexOf(chosen) : -1,
      charsets: chosen && hasCharset(chosen) ? this.charsets : [],
      charset,
      delay,
      size,
      traditional: chosen && isChinese(chosen) ? traditional : undefined,
    });
  }
}

function isChinese({ language, readable }: Subtitle): boolean {
  return readable && languageOf(language) === "zh";
}
