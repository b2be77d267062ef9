// The door: name and password.
import type { WebApi } from "./api.ts";
import { h } from "./dom.ts";
import { signIn, type Account } from "./session.ts";
import { wordsForSigningIn } from "./words.ts";

export class SignInView {
  readonly element: HTMLElement;
  private readonly user = h("input", {
    id: "user",
    name: "user",
    class: "field",
    autocomplete: "username",
    autocapitalize: "none",
    spellcheck: "false",
    required: true,
  });
  private readonly password = h("input", {
    id: "password",
    name: "password",
    class: "field",
    type: "password",
    autocomplete: "current-password",
    required: true,
  });
  private readonly button = h("button", { type: "submit", class: "button wide" }, "Sign in");
  private readonly words = h("p", { class: "failure", role: "alert" });

  constructor(
    private readonly api: WebApi,
    private readonly onSignedIn: (account: Account) => void,
    hint = "",
  ) {
    const form = h(
      "form",
      { class: "sign-in-form", onsubmit: (event: SubmitEvent) => this.submit(event) },
      h("label", { for: "user" }, "Name"),
      this.user,
      h("label", { for: "password" }, "Password"),
      this.password,
      this.words,
      this.button,
    );
    this.element = h(
      "main",
      { class: "sign-in" },
      h(
        "div",
        { class: "sign-in-card" },
        h("img", { src: "/kinora.svg", alt: "", class: "sign-in-mark" }),
        h("h1", {}, "Kinora"),
        h("p", { class: "hint" }, hint || "Your own films, on every screen."),
        form,
      ),
    );
  }

  shown(): void {
    document.title = "Sign in – Kinora";
    this.user.focus();
  }

  private async submit(event: SubmitEvent): Promise<void> {
    event.preventDefault();
    this.words.textContent = "";
    this.button.disabled = true;
    try {
      this.onSignedIn(await signIn(this.api, this.user.value, this.password.value));
    } catch (error) {
      this.words.textContent = wordsForSigningIn(error);
      this.password.select();
    } finally {
      this.button.disabled = false;
    }
  }
}
