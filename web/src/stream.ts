// Streams as the server opens them.
import { addressOf, kAddress, readAnswer, Refusal, type WebApi } from "./api.ts";

export interface Stream {
  stream_id: string;
  format: string;
}

// How a film is to be sent: in the cheapest way that plays ("auto") or in one format; to a profile if one is named.
export interface Way {
  format: string;
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

// Of the file, or of the manifest where the film comes in fragments. `seek`: whole seconds into the film, for streams
// that are made from there on.
export function mediaAddress(stream: Stream, seek?: number): string {
  if (stream.format === "ss") return manifestAddress(stream);
  return addressOf("Stream", "stream", { id: stream.stream_id, format: stream.format, seek });
}

// Players of Smooth Streaming put the addresses of fragments together from the manifest's path. "-": who asks is said
// by the cookie.
function manifestAddress(stream: Stream): string {
  return `${kAddress}/ss/-/${encodeURIComponent(stream.stream_id)}/Manifest`;
}

export function comesAsHls(stream: Stream): boolean {
  return stream.format === "hls" || stream.format === "hls_remux";
}

export interface StreamAnswer {
  status: number; // of HTTP; 0: there was none
  code?: number; // with which the server refuses
}

// The code with which the server refused; nothing when the body holds none.
export function refusalIn(body: string | ArrayBuffer): number | undefined {
  try {
    readAnswer(typeof body === "string" ? body : new TextDecoder().decode(body));
  } catch (error) {
    if (error instanceof Refusal) return error.code;
  }
  return undefined;
}

// How the server would answer for this stream now. Asks for a single byte, or for none where that costs an encoder.
export async function askForStream(stream: Stream, seek?: number): Promise<StreamAnswer> {
  const own = new AbortController();
  const little = seek === undefined ? { headers: { Range: "bytes=0-0" } } : { method: "HEAD" };
  try {
    const answer = await fetch(mediaAddress(stream, seek), { ...little, cache: "no-store", signal: own.signal });
    if (answer.status < 400) return { status: answer.status };
    const code = refusalIn(await answer.text());
    return { status: answer.status, ...(code !== undefined && { code }) };
  } catch {
    return { status: 0 };
  } finally {
    own.abort();
  }
}

// The HTTP status of any answer of the server; 0 when there is none.
export async function askForServer(): Promise<number> {
  try {
    return (await fetch(addressOf("Session", "whoami"), { cache: "no-store" })).status;
  } catch {
    return 0;
  }
}
