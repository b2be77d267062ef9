// Numbers as people read them.

// 75 -> "1:15", 3675 -> "1:01:15". Nothing sensible gives "0:00".
export function formatTime(seconds: number): string {
  const whole = Number.isFinite(seconds) && seconds > 0 ? Math.floor(seconds) : 0;
  const two = (value: number) => String(value).padStart(2, "0");
  const [hours, minutes, rest] = [Math.floor(whole / 3600), Math.floor(whole / 60) % 60, whole % 60];
  return hours > 0 ? `${hours}:${two(minutes)}:${two(rest)}` : `${minutes}:${two(rest)}`;
}

// The same for a screen reader: "1 hour 1 minute 15 seconds".
export function speakTime(seconds: number): string {
  const whole = Number.isFinite(seconds) && seconds > 0 ? Math.floor(seconds) : 0;
  const parts: [number, string][] = [
    [Math.floor(whole / 3600), "hour"],
    [Math.floor(whole / 60) % 60, "minute"],
    [whole % 60, "second"],
  ];
  const said = parts.filter(([value]) => value > 0).map(([value, unit]) => plural(value, unit));
  return said.length > 0 ? said.join(" ") : "0 seconds";
}

export function plural(count: number, one: string, many = `${one}s`): string {
  return `${count.toLocaleString("en")} ${count === 1 ? one : many}`;
}

export function formatSize(bytes: number): string {
  const units = ["bytes", "kB", "MB", "GB", "TB"];
  let value = bytes;
  let unit = 0;
  while (value >= 1000 && unit < units.length - 1) {
    value /= 1000;
    unit += 1;
  }
  return `${value >= 100 || unit === 0 ? Math.round(value) : value.toFixed(1)} ${units[unit]}`;
}

// How sharp the picture is, in the words that boxes use. Wide pictures are cut at the top and bottom, tall
// ones at the sides, so either edge may tell.
export function formatSharpness(width: number, height: number): string {
  const long = Math.max(width, height);
  const short = Math.min(width, height);
  if (long >= 7000 || short >= 4000) return "8K";
  if (long >= 3400 || short >= 2000) return "4K";
  if (long >= 1900 || short >= 1000) return "1080p";
  if (long >= 1200 || short >= 700) return "720p";
  return "";
}
