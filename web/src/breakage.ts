// What to do when a stream breaks off: decided from what is known of it.

export interface Breakage {
  // Of the server's last answer for the stream; 0: it does not answer.
  status: number;
  // The browser could not make sense of what it got, rather than get it.
  undecodable: boolean;
}

export interface Broken {
  format: string; // of the stream
  played: boolean; // so far that its length was known
}

export type Remedy =
  | "wait" // for the server, then open it again
  | "reopen" // at its position: the server does not know it any more, or it was interrupted
  | "convert" // open it again, converted for this browser
  | "give up"; // the browser can't play even what was converted for it

// Answers that a server gives when it is starting, ending or has too much to do.
export function willPass(status: number): boolean {
  return status === 0 || status === 502 || status === 503 || status === 504;
}

export function remedyFor({ status, undecodable }: Breakage, { format, played }: Broken): Remedy {
  if (willPass(status)) return "wait";
  // A film that can't be copied into fragments can still be converted.
  const uncopied = format === "hls_remux" && (status === 409 || status >= 500);
  if (status >= 400 && !uncopied) return "reopen";
  const unfit = undecodable || uncopied || !played;
  if (!unfit) return "reopen";
  if (format !== "hls") return "convert";
  return played ? "reopen" : "give up";
}
