// The grid of films. Cards stay the same elements while their films do, so that neither the focus nor the place
// in the page is lost when the list changes.
import type { Film } from "./catalog.ts";
import { h } from "./dom.ts";
import { filmCard, showPosition } from "./film_card.ts";
import { isArrow, neighbour } from "./grid_keys.ts";
import type { Positions } from "./positions.ts";

interface Shown {
  item: HTMLLIElement;
  film: string; // all that the card shows, to tell a changed film from the same one
}

const kSkeletons = 12;

export class FilmGrid {
  readonly element = h("ul", {
    class: "grid",
    "aria-label": "Films",
    onkeydown: (event: KeyboardEvent) => this.move(event),
  });
  private readonly shown = new Map<number, Shown>();

  show(films: readonly Film[], positions: Positions): void {
    this.element.querySelectorAll(".skeleton").forEach((item) => item.remove());
    const wanted = new Set(films.map((film) => film.id));
    for (const [id, { item }] of this.shown) {
      if (wanted.has(id)) continue;
      item.remove();
      this.shown.delete(id);
    }
    let next = this.element.firstElementChild;
    for (const film of films) {
      const item = this.itemFor(film, positions);
      if (item === next) next = next.nextElementSibling;
      else this.element.insertBefore(item, next);
    }
  }

  showPositions(positions: Positions): void {
    for (const [id, { item }] of this.shown) showPosition(item, positions[id]);
  }

  showSkeletons(): void {
    if (this.element.childElementCount > 0) return;
    for (let index = 0; index < kSkeletons; index += 1) {
      const lines = [h("div", { class: "picture" }), h("span", { class: "card-title" }), h("span", { class: "card-place" })];
      this.element.append(h("li", { class: "skeleton", "aria-hidden": "true" }, ...lines));
    }
  }

  focusFirst(): void {
    this.element.querySelector("a")?.focus();
  }

  topOf(id: number): number {
    return this.linkOf(id)?.getBoundingClientRect().top ?? 0;
  }

  // Focuses a film's card and scrolls the window so that it stands where it stood. Rows that were not on the screen
  // yet have a guessed height, so a second look is needed once those around the card are laid out.
  bringBack(id: number, top: number): void {
    const link = this.linkOf(id);
    if (!link) return;
    const align = () => window.scrollBy(0, link.getBoundingClientRect().top - top);
    link.focus({ preventScroll: true });
    align();
    requestAnimationFrame(align);
  }

  private linkOf(id: number): HTMLElement | null | undefined {
    return this.shown.get(id)?.item.querySelector("a");
  }

  private itemFor(film: Film, positions: Positions): HTMLLIElement {
    const text = JSON.stringify(film);
    const old = this.shown.get(film.id);
    if (old?.film === text) return old.item;
    const item = filmCard(film);
    showPosition(item, positions[film.id]);
    old?.item.replaceWith(item);
    this.shown.set(film.id, { item, film: text });
    return item;
  }

  private move(event: KeyboardEvent): void {
    if (!isArrow(event.key) || event.ctrlKey || event.altKey || event.metaKey) return;
    const links = [...this.element.querySelectorAll<HTMLElement>("a.card")];
    const from = links.findIndex((link) => link === document.activeElement);
    if (from < 0) return;
    event.preventDefault();
    const boxes = links.map((link) => link.getBoundingClientRect());
    links[neighbour(boxes, from, event.key)]?.focus();
  }
}
