// The library's head: search, order, and the signed-in person's menu.
import type { AccountMenu } from "./account_menu.ts";
import { h } from "./dom.ts";
import { icon } from "./icons.ts";
import type { LibraryRoute, Sort } from "./router.ts";

const kTypingPause = 200;

const kSortNames: Record<Sort, string> = {
  title: "Title",
  newest: "Newest first",
  duration: "Longest first",
  size: "Largest first",
};

export class Toolbar {
  private typing: ReturnType<typeof setTimeout> | undefined;
  private readonly search = h("input", {
    type: "search",
    class: "search-field",
    placeholder: "Search films and folders",
    "aria-label": "Search films and folders",
    autocomplete: "off",
    spellcheck: "false",
    enterkeyhint: "search",
    oninput: () => this.typed(),
    onkeydown: (event: KeyboardEvent) => this.keyed(event),
  });
  private readonly sort = h(
    "select",
    { class: "sort", "aria-label": "Order", onchange: () => this.changed() },
    ...Object.entries(kSortNames).map(([value, name]) => h("option", { value }, name)),
  );
  readonly element: HTMLElement;

  constructor(
    menu: AccountMenu,
    private readonly on: { query: (query: Omit<LibraryRoute, "view">) => void; done: () => void },
  ) {
    this.element = h(
      "header",
      { class: "toolbar" },
      h(
        "a",
        { class: "brand", href: "#/", "aria-label": "Kinora, all films" },
        h("img", { src: "/kinora.svg", alt: "" }),
        h("span", {}, "Kinora"),
      ),
      h("div", { class: "search", role: "search" }, icon("search"), this.search, h("kbd", { "aria-hidden": "true" }, "/")),
      this.sort,
      menu.element,
    );
  }

  show(route: LibraryRoute): void {
    // Not while somebody types: the address follows the field then.
    if (this.search.value.trim() !== route.search) this.search.value = route.search;
    this.sort.value = route.sort;
  }

  focusSearch(): void {
    this.search.focus();
    this.search.select();
  }

  private typed(): void {
    clearTimeout(this.typing);
    this.typing = setTimeout(() => this.changed(), kTypingPause);
  }

  private keyed(event: KeyboardEvent): void {
    if (event.key === "ArrowDown" || event.key === "Enter") {
      event.preventDefault();
      if (event.key === "Enter") this.changed();
      this.on.done();
    } else if (event.key === "Escape") {
      if (this.search.value === "") this.on.done();
      this.search.value = "";
      this.changed();
    }
  }

  private changed(): void {
    clearTimeout(this.typing);
    this.on.query({ search: this.search.value.trim(), sort: this.sort.value as Sort });
  }
}
