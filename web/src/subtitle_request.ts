// What the page asks the server about subtitles.
import type { WebApi } from "./api.ts";
import { hasCharset, listSubtitles, type Subtitle } from "./subtitle_list.ts";
import type { SubtitleServer } from "./subtitle_loading.ts";
import { readWebvtt } from "./webvtt.ts";

export interface Charset {
  name: string;
  title: string;
}

export const kDetected = "auto"; // the charset that the server finds out by itself

export async function listCharsets(api: WebApi): Promise<Charset[]> {
  return (await api.get<{ charsets: Charset[] }>("Subtitle", "charsets")).charsets;
}

export interface Wish {
  film: number;
  pin: string | undefined; // that opens it, if it is locked
  subtitle: Subtitle;
  charset: string;
}

// One subtitle in one charset. Rejects with an AbortError once `signal` says so.
export function subtitleServer(api: WebApi, wish: Wish, signal: AbortSignal): SubtitleServer<VTTCue> {
  const { film, pin, charset } = wish;
  const { id } = wish.subtitle;
  const what = { id: film, pin, subtitle_id: id, codepage: hasCharset(wish.subtitle) ? charset : undefined };
  const form = { output_webvtt: "true", keep_basic_tags: "true" };
  return {
    lines: async (preview) => {
      const own = { ...what, ...form, preview: preview ? "true" : undefined };
      const lines = await readWebvtt(await api.postText("Subtitle", "get", own, signal));
      signal.throwIfAborted();
      return lines;
    },
    extracted: async () => (await listSubtitles(api, film, pin)).some((one) => one.id === id && one.extracted),
    pause: (milliseconds) =>
      new Promise((resolve, reject) => {
        signal.throwIfAborted();
        const timer = setTimeout(resolve, milliseconds);
        signal.addEventListener("abort", () => {
          clearTimeout(timer);
          reject(signal.reason as Error);
        });
      }),
  };
}

// Whether the account reads simplified Chinese in the traditional script.
export async function readsTraditional(api: WebApi): Promise<boolean> {
  type Preference = { convert_simplified_to_traditional: boolean };
  return (await api.get<Preference>("Preference", "get")).convert_simplified_to_traditional;
}

export async function readTraditional(api: WebApi, wanted: boolean): Promise<void> {
  await api.post("Preference", "set", { convert_simplified_to_traditional: String(wanted) });
}
