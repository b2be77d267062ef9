// How a film is sent. What is chosen for a film holds for that film alone: it is for looking closer, or for getting
// round what goes wrong with one film, and would be in the way of the next one. The quality, which is about the
// viewer's line and screen, is kept (quality.ts).
import { playsHls, playsWebm, takesFragments, typeOf, type Abilities } from "./abilities.ts";
import type { Film } from "./catalog.ts";
import { kOriginal, type Quality } from "./quality.ts";
import type { Way } from "./stream.ts";

export interface Delivery {
  format: string; // as the server calls it; "auto" leaves it open
  label: string;
  detail: string; // what those call it who know
  scales: boolean; // comes in every quality
}

export const kAutomatic: Delivery = { format: "auto", label: "Automatic", detail: "", scales: true };

export const kDeliveries: readonly Delivery[] = [
  kAutomatic,
  { format: "raw", label: "The file as it is", detail: "direct", scales: false },
  { format: "hls_remux", label: "The picture as it is", detail: "HLS, copied", scales: false },
  { format: "hls", label: "Converted", detail: "HLS", scales: true },
  { format: "ss", label: "Converted, in chunks", detail: "Smooth Streaming", scales: false },
  { format: "webm_remux", label: "Converted, as one stream", detail: "WebM", scales: true },
];

export interface Choice {
  delivery: Delivery;
  quality: Quality;
}

export const kUsual: Choice = { delivery: kAutomatic, quality: kOriginal };

// A delivery that comes in one quality only lets go of the chosen one, and the other way round.
export function withDelivery({ quality }: Choice, delivery: Delivery): Choice {
  return { delivery, quality: delivery.scales ? quality : kOriginal };
}

export function withQuality({ delivery }: Choice, quality: Quality): Choice {
  return { delivery: delivery.scales || quality === kOriginal ? delivery : kAutomatic, quality };
}

export function sameChoice(one: Choice, other: Choice): boolean {
  return one.delivery === other.delivery && one.quality === other.quality;
}

// Those that this browser has a player for. Whether it can show what a file holds is for it to find out.
export function deliveriesFor(can: Abilities): readonly Delivery[] {
  const plays: Record<string, boolean> = {
    hls: playsHls(can),
    hls_remux: playsHls(can),
    ss: takesFragments(can),
    webm_remux: playsWebm(can),
  };
  return kDeliveries.filter(({ format }) => plays[format] ?? true);
}

// What a film is converted to for this browser.
export function conversionFor(can: Abilities): "hls" | "webm_remux" {
  return playsHls(can) || !playsWebm(can) ? "hls" : "webm_remux";
}

export interface Known {
  film: Film | undefined; // as far as the library has it loaded
  converted: boolean; // the browser has shown that it can't play the film as it is
  track: boolean; // another sound than the film's first one is wanted
}

// Whether the browser will play the film in that format; nothing where it does not say.
export function playsIn(format: string, film: Film | undefined, can: Abilities): boolean | undefined {
  if (format === "webm_remux") return playsWebm(can);
  if (format !== "raw") return playsHls(can);
  const type = film && typeOf(film);
  return type === undefined ? undefined : can.file(type);
}

// The server knows what is cheapest, but not that a browser lacks H.264.
export function wayFor({ delivery, quality }: Choice, { film, converted, track }: Known, can: Abilities): Way {
  const scaled = delivery.scales && quality !== kOriginal ? { profile: quality.name } : {};
  if (delivery !== kAutomatic) return { format: delivery.format, ...scaled };
  const conversion = conversionFor(can);
  if (converted || quality !== kOriginal) return { format: conversion, ...scaled };
  if (conversion === "hls") return { format: "auto" };
  const as_is = !track && playsIn("raw", film, can) === true;
  return { format: as_is ? "auto" : conversion };
}

// What to go back to when a choice can't be had: what last played, or else the usual.
export function choiceInstead(refused: Choice, played: Choice | undefined): Choice | undefined {
  if (played && !sameChoice(played, refused)) return played;
  return sameChoice(refused, kUsual) ? undefined : kUsual;
}
