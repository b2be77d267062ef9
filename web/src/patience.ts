// How often players of fragments ask again.
//
// A fragment may have to be encoded first, so its first byte may take long. A server that is being started again, or
// that has no encoder free (503), is asked patiently while the film plays on from what is loaded; what it refuses
// (4xx) is not asked for twice, for the stream is gone then.
import { willPass } from "./breakage.ts";

export const kPatient = 60; // attempts
const kImpatient = 2;

// Whether to load anew what failed so often before. No status: it took too long, or what came is no fragment.
export function mayRetry(status: number | undefined, late: boolean, failures: number): boolean {
  if (late) return failures < kImpatient;
  if (status === undefined) return false;
  if (willPass(status)) return failures < kPatient;
  return status >= 500 && failures < kImpatient;
}
