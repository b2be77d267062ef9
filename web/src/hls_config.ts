// How hls.js is to load a stream of ours.
import type { HlsConfig, LoadPolicy } from "hls.js";
import { kPatient, mayRetry } from "./patience.ts";
import { refusalIn } from "./stream.ts";

// The server's last refusal. hls.js asks whether to try again without showing the body, but right after its request
// told the listeners that came before.
class LastRefusal {
  code: number | undefined;

  readonly watch = (request: XMLHttpRequest): void => {
    request.addEventListener("readystatechange", () => {
      if (request.readyState !== XMLHttpRequest.DONE) return;
      this.code = request.status >= 400 ? refusalIn(request.response as string | ArrayBuffer) : undefined;
    });
  };
}

// Hears of each failure that another attempt follows: the HTTP status, 0 for no answer, and the server's code.
export type HearOfTrouble = (status: number, code: number | undefined) => void;

const kAhead = 60; // seconds
const kPauses = { retryDelayMs: 1000, maxRetryDelayMs: 8000, backoff: "exponential" } as const;

function policy(first_byte: number, refusal: LastRefusal, trouble: HearOfTrouble): LoadPolicy {
  const retry = {
    ...kPauses,
    maxNumRetry: kPatient,
    shouldRetry: (_: unknown, failures: number, late: boolean, answer?: { code?: number }) => {
      const again = mayRetry(answer?.code, late, failures);
      if (again) trouble(answer?.code ?? 0, late ? undefined : refusal.code);
      return again;
    },
  };
  return {
    default: { maxTimeToFirstByteMs: first_byte, maxLoadTimeMs: 180_000, timeoutRetry: retry, errorRetry: retry },
  };
}

// `at`: seconds into the film.
export function configFor(at: number, worker: string, trouble: HearOfTrouble): Partial<HlsConfig> {
  const refusal = new LastRefusal();
  return {
    // The first fragment asked for is the one to be seen: each other one would cost an encoder.
    startPosition: at,
    testBandwidth: false,
    workerPath: worker,
    // Both, or a film of few bits would be loaded for as long as its bytes fit, by an encoder far ahead of its viewer.
    maxBufferLength: kAhead,
    maxMaxBufferLength: kAhead,
    backBufferLength: 60,
    xhrSetup: refusal.watch,
    // The page shows subtitles itself, as a whole and of every kind of stream.
    subtitleTrackController: undefined,
    subtitleStreamController: undefined,
    timelineController: undefined,
    lowLatencyMode: false,
    enableInterstitialPlayback: false,
    manifestLoadPolicy: policy(20_000, refusal, trouble),
    playlistLoadPolicy: policy(20_000, refusal, trouble),
    fragLoadPolicy: policy(60_000, refusal, trouble),
  };
}
