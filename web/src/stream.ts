// Streams as the server opens them.
import { addressOf, type WebApi } from "./api.ts";

export interface Stream {
  stream_id: string;
  format: string;
}

export function openStream(api: WebApi, film: number, pin?: string): Promise<Stream> {
  return api.post<Stream>("Stream", "open", { id: film, format: "auto", pin });
}

// Nobody waits for it: a stream that is gone already is as good as closed.
export function closeStream(api: WebApi, stream: Stream): void {
  api.postAndForget("Stream", "close", { id: stream.stream_id, format: stream.format });
}

export function mediaAddress(stream: Stream): string {
  return addressOf("Stream", "stream", { id: stream.stream_id, format: stream.format });
}

export type Verdict = "served" | "refused" | "unreachable";

// Would the server still give this stream? Asks for a single byte.
export async function askForStream(stream: Stream): Promise<Verdict> {
  const own = new AbortController();
  try {
    const answer = await fetch(mediaAddress(stream), {
      headers: { Range: "bytes=0-0" },
      cache: "no-store",
      signal: own.signal,
    });
    return answer.ok ? "served" : "refused";
  } catch {
    return "unreachable";
  } finally {
    own.abort();
  }
}
