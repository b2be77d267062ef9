// How dash.js is to load Smooth Streaming of ours.
import type { MediaPlayerSettingClass } from "dashjs";
import { kPatient } from "./patience.ts";

const kAhead = 60; // seconds
const kPause = 2000; // milliseconds from one attempt to the next
const kLongest = 60_000; // milliseconds for a chunk that has to be encoded first

export function smoothSettings(): MediaPlayerSettingClass {
  return {
    debug: { logLevel: 0 }, // what goes wrong is dealt with, and told in the page's own words
    streaming: {
      buffer: {
        bufferTimeDefault: kAhead,
        bufferTimeAtTopQuality: kAhead,
        bufferTimeAtTopQualityLongForm: kAhead,
        bufferToKeep: kAhead,
      },
      // The server puts the track first that the viewer wants.
      selectionModeForInitialTrack: "firstTrack",
      // There is one quality, and nothing is to be kept in the browser.
      abr: { autoSwitchBitrate: { audio: false, video: false }, rules: { abandonRequestsRule: { active: false } } },
      lastBitrateCachingInfo: { enabled: false },
      lastMediaSettingsCachingInfo: { enabled: false },
      // No clock has to be asked for a film that is whole.
      utcSynchronization: { enabled: false },
      manifestRequestTimeout: kLongest,
      fragmentRequestTimeout: kLongest,
      retryAttempts: { MPD: kPatient, MediaSegment: kPatient },
      retryIntervals: { MPD: kPause, MediaSegment: kPause },
    },
    errors: { recoverAttempts: { mediaErrorDecode: 0 } },
  };
}

// How often dash.js has made this request before in vain; its types keep that to themselves.
export function failuresOf(request: { customData?: unknown }): number {
  const own = request.customData as { request?: { retryAttempts?: number } } | undefined;
  return own?.request?.retryAttempts ?? 0;
}
