// Languages by their codes, as films and files name them: "de", "ger", "zh-TW", "und".

const kNames = new Intl.DisplayNames(["en"], { type: "language", fallback: "none" });

// Empty for what is no language.
export function nameLanguage(code: string): string {
  try {
    return kNames.of(code) ?? "";
  } catch {
    return "";
  }
}

// The same code for all that name one language: "de" for "ger" and "de-AT". "und" where none is named.
export function languageOf(code: string): string {
  try {
    return new Intl.Locale(code).language || "und";
  } catch {
    return "und";
  }
}
