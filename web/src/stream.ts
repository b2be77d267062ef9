// Streams as the server opens them.
import { addressOf, type WebApi } from "./api.ts";

export interface Stream {
  stream_id: string;
  format: string;
}

// How a film is to be sent: the cheapest way that plays ("auto"), or converted ("hls"), to a profile if one is named.
export interface Way {
  format: "auto" | "hls";
  profile?: string;
}

// What the viewer brings along: the audio track to be heard, and the PIN of a locked film.
export interface OpenWishes {
  audio_track: string | undefined;
  pin: string | undefined;
}

export function openStream(api: WebApi, film: number, way: Way, wishes: OpenWishes): Promise<Stream> {
  return api.post<Stream>("Stream", "open", { id: film, ...way, ...wishes });
}

// Nobody waits for it: a stream that is gone already is as good as closed.
export function closeStream(api: WebApi, stream: Stream): void {
  api.postAndForget("Stream", "close", { id: stream.stream_id, format: stream.format });
}

// Of the file, or of the manifest where the film comes in fragments.
export function mediaAddress(stream: Stream): string {
  return addressOf("Stream", "stream", { id: stream.stream_id, format: stream.format });
}

export function comesInFragments(stream: Stream): boolean {
  return stream.format === "hls" || stream.format === "hls_remux";
}

// The HTTP status with which the server would answer for this stream now; 0 when it does not answer. Asks for a
// single byte.
export async function askForStream(stream: Stream): Promise<number> {
  const own = new AbortController();
  try {
    const answer = await fetch(mediaAddress(stream), {
      headers: { Range: "bytes=0-0" },
      cache: "no-store",
      signal: own.signal,
    });
    return answer.status;
  } catch {
    return 0;
  } finally {
    own.abort();
  }
}
