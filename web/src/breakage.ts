// What to do when a stream breaks off: decided from what is known of it.

export interface Breakage {
  // Of the server's last answer for the stream, and the code in it; 0: it does not answer.
  status: number;
  code?: number;
  // The browser could not make sense of what it got, rather than get it.
  undecodable: boolean;
}

export interface Broken {
  format: string; // of the stream
  conversion: string; // the format that films are converted to for this browser
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

// Why loading stands still: the server does not answer, has no encoder free, or no space.
export type Trouble = "server" | "encoders" | "disk";

const kDiskFull = 1203;

// Nothing where it does not, or not for long.
export function troubleOf(status: number, code: number | undefined): Trouble | undefined {
  if (status === 503) return code === kDiskFull ? "disk" : "encoders";
  return willPass(status) ? "server" : undefined;
}

export function remedyFor({ status, undecodable }: Breakage, { format, conversion, played }: Broken): Remedy {
  if (willPass(status)) return "wait";
  // A film that can't be copied into fragments can still be converted.
  const uncopied = format === "hls_remux" && (status === 409 || status >= 500);
  if (status >= 400 && !uncopied) return "reopen";
  const unfit = undecodable || uncopied || !played;
  if (!unfit) return "reopen";
  if (format !== conversion) return "convert";
  return played ? "reopen" : "give up";
}
