// Arrow keys in a grid whose rows the browser lays out: the neighbour is found by where the cards stand.

export interface Box {
  left: number;
  top: number;
}

export type Arrow = "ArrowLeft" | "ArrowRight" | "ArrowUp" | "ArrowDown" | "Home" | "End";

export function isArrow(key: string): key is Arrow {
  return ["ArrowLeft", "ArrowRight", "ArrowUp", "ArrowDown", "Home", "End"].includes(key);
}

// Tops of one row may differ by a fraction of a pixel.
const kSameRow = 2;

// The index to go to from `from`; the same when there is nothing that way.
export function neighbour(boxes: readonly Box[], from: number, arrow: Arrow): number {
  const here = boxes[from];
  if (!here) return 0;
  if (arrow === "ArrowLeft") return Math.max(0, from - 1);
  if (arrow === "ArrowRight") return Math.min(boxes.length - 1, from + 1);
  if (arrow === "Home") return 0;
  if (arrow === "End") return boxes.length - 1;
  const step = arrow === "ArrowDown" ? 1 : -1;
  let best = from;
  let row: number | undefined;
  for (let index = from + step; boxes[index] !== undefined; index += step) {
    const box = boxes[index] as Box;
    if (Math.abs(box.top - here.top) <= kSameRow) continue;
    row ??= box.top;
    if (Math.abs(box.top - row) > kSameRow) break;
    const nearest = boxes[best] as Box;
    if (best === from || Math.abs(box.left - here.left) < Math.abs(nearest.left - here.left)) best = index;
  }
  return best;
}
