// How loud this browser was last time.
const kKey = "kinora.volume";

interface Loudness {
  volume: number; // 0 to 1
  muted: boolean;
}

export function readLoudness(text: string | null): Loudness {
  try {
    const stored = JSON.parse(text ?? "") as Partial<Loudness> | null;
    const volume = Number(stored?.volume);
    if (volume >= 0 && volume <= 1) return { volume, muted: stored?.muted === true };
  } catch {
    // as if nothing were stored
  }
  return { volume: 1, muted: false };
}

export function restoreLoudness(video: HTMLVideoElement): void {
  let text: string | null = null;
  try {
    text = localStorage.getItem(kKey);
  } catch {
    // the browser keeps nothing for this page
  }
  Object.assign(video, readLoudness(text));
}

export function saveLoudness(video: HTMLVideoElement): void {
  try {
    localStorage.setItem(kKey, JSON.stringify({ volume: video.volume, muted: video.muted }));
  } catch {
    // the browser keeps nothing for this page
  }
}
