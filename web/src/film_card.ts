// One film in the grid: its picture, and below it what it is called and where it lies.
import { pictureAddress, placeOf, type Film } from "./catalog.ts";
import { h } from "./dom.ts";
import { formatSharpness, formatSize, formatTime, speakTime } from "./format.ts";
import type { Position } from "./positions.ts";
import { formatRoute } from "./router.ts";

// Films without a picture get one of these quiet colours, always the same one.
const kTints = 6;

function picture(film: Film): HTMLElement {
  const letter = [...film.title.trim()][0] ?? "?";
  const frame = h(
    "div",
    { class: `picture tint-${film.id % kTints}` },
    h("span", { class: "picture-letter", "aria-hidden": "true" }, letter.toUpperCase()),
  );
  const image = h("img", {
    alt: "",
    loading: "lazy",
    decoding: "async",
    width: 320,
    height: 180,
    sizes: "(min-width: 120rem) 24rem, 16rem",
    srcset: `${pictureAddress(film.id, 320)} 320w, ${pictureAddress(film.id, 640)} 640w`,
    src: pictureAddress(film.id, 320),
    onload: () => frame.classList.add("has-picture"),
    onerror: () => image.remove(), // the letter stays
  });
  frame.append(image);
  return frame;
}

function badges(film: Film): HTMLElement {
  const sharpness = formatSharpness(film.width, film.height);
  return h(
    "div",
    { class: "badges", "aria-hidden": "true" },
    sharpness !== "" && h("span", { class: "badge" }, sharpness),
    film.duration > 0 && h("span", { class: "badge" }, formatTime(film.duration)),
  );
}

export function filmCard(film: Film): HTMLLIElement {
  const place = placeOf(film);
  const link = h(
    "a",
    {
      class: "card",
      href: formatRoute({ view: "film", id: film.id }),
      title: `${film.file} · ${formatSize(film.size)}`,
      "data-film": film.id,
    },
    h(
      "div",
      { class: "picture-box" },
      picture(film),
      badges(film),
      h("div", { class: "watched", hidden: true }, h("div", { class: "watched-part" })),
    ),
    h("span", { class: "card-title", dir: "auto" }, film.title),
    film.duration > 0 && h("span", { class: "visually-hidden" }, speakTime(film.duration)),
    h("span", { class: "card-place", dir: "auto" }, place),
  );
  return h("li", {}, link);
}

// How far the film was seen, as a line along the picture's lower edge.
export function showPosition(card: Element, position: Position | undefined): void {
  const line = card.querySelector<HTMLElement>(".watched");
  const part = card.querySelector<HTMLElement>(".watched-part");
  if (!line || !part) return;
  line.hidden = !position;
  if (position) part.style.width = `${Math.min(100, (100 * position.at) / position.duration)}%`;
}
