// The picture under the pointer. Mouse: a click plays or pauses, two make it fill the screen. Finger: a tap shows
// or hides the controls, two taps at a side skip that way.

export type SurfaceEvent = "toggle" | "fullscreen" | "chrome" | "rewind" | "forward";

const kDoubleTap = 280;
const kSide = 0.35; // of the width

// Which skip two taps at this place mean.
export function tapSide(x: number, width: number): "rewind" | "forward" | undefined {
  if (x < width * kSide) return "rewind";
  return x > width * (1 - kSide) ? "forward" : undefined;
}

export function watchSurface(surface: HTMLElement, on: (event: SurfaceEvent) => void): void {
  let touched = false;
  let pending: ReturnType<typeof setTimeout> | undefined;
  surface.addEventListener("pointerdown", (event) => (touched = event.pointerType === "touch"));
  surface.addEventListener("click", (event) => {
    if (!touched) {
      on("toggle");
      return;
    }
    const side = tapSide(event.clientX - surface.getBoundingClientRect().left, surface.clientWidth);
    if (pending !== undefined && side) {
      clearTimeout(pending);
      pending = undefined;
      on(side);
      return;
    }
    clearTimeout(pending);
    pending = setTimeout(() => {
      pending = undefined;
      on("chrome");
    }, kDoubleTap);
  });
  surface.addEventListener("dblclick", () => {
    if (!touched) on("fullscreen");
  });
}
