// The qualities that a viewer may choose, and which one this browser took last.
export interface Quality {
  name: string; // as it is stored; the server's profile, but for the original
  label: string;
  detail: string;
}

export const kOriginal: Quality = { name: "original", label: "Original", detail: "" };

export const kQualities: readonly Quality[] = [
  kOriginal,
  { name: "hd_high", label: "High", detail: "up to 720p" },
  { name: "sd_high", label: "Standard", detail: "up to 576p" },
  { name: "low", label: "Low", detail: "up to 360p" },
];

const kKey = "kinora.quality";

export function readQuality(stored: string | null): Quality {
  return kQualities.find(({ name }) => name === stored) ?? kOriginal;
}

export function lastQuality(): Quality {
  try {
    return readQuality(localStorage.getItem(kKey));
  } catch {
    return kOriginal; // the browser keeps nothing for this page
  }
}

export function saveQuality(quality: Quality): void {
  try {
    localStorage.setItem(kKey, quality.name);
  } catch {
    // the browser keeps nothing for this page
  }
}
