import assert from "node:assert/strict";
import { test } from "node:test";
import type { WebApi } from "../src/api.ts";
import { listTracks, nameTracks, withNames, type AudioTrack, type TrackWords } from "../src/audio_tracks.ts";

const kTracks: [string, Omit<AudioTrack, "id">[], TrackWords[]][] = [
  [
    "language and name",
    [{ name: "Original", language: "eng" }, { name: "Kommentar", language: "ger" }],
    [{ label: "English", detail: "Original" }, { label: "German", detail: "Kommentar" }],
  ],
  ["the name is the language", [{ name: "german", language: "de" }], [{ label: "German", detail: "" }]],
  ["a name alone", [{ name: "Live", language: "und" }], [{ label: "Live", detail: "" }]],
  [
    "nothing known",
    [{ name: "", language: "" }, { name: "", language: "" }],
    [{ label: "Track 1", detail: "" }, { label: "Track 2", detail: "" }],
  ],
  [
    "alike",
    [{ name: "", language: "en" }, { name: "", language: "en" }, { name: "Stereo", language: "en" }],
    [
      { label: "English", detail: "track 1" },
      { label: "English", detail: "track 2" },
      { label: "English", detail: "Stereo" },
    ],
  ],
];
for (const [what, tracks, words] of kTracks) {
  test(`AudioTracks.AreTold(${what})`, () => assert.deepEqual(nameTracks(tracks), words));
}

test("AudioTracks.AreListedAsTheFileHasThem", async () => {
  const audio = [{ id: "1", codec: "aac", title: "Original", language: "eng", channels: 2 }, { id: "4", title: "", language: "" }];
  const asked: unknown[] = [];
  const api = { post: async (...call: unknown[]) => (asked.push(call), { video: [], audio }) } as unknown as WebApi;
  assert.deepEqual(await listTracks(api, 7, "1234"), [
    { id: "1", name: "Original", language: "eng" },
    { id: "4", name: "", language: "" },
  ]);
  assert.deepEqual(asked, [["Film", "tracks", { id: 7, pin: "1234" }]]);
});

test("AudioTracks.BorrowWhatTheirStreamDoesNotTell", () => {
  const named = [{ id: "4", name: "Kommentar", language: "ger" }, { id: "1", name: "Original", language: "eng" }];
  const told = [
    { id: "1", name: "", language: "" },
    { id: "4", name: "Deutsch", language: "de" },
    { id: "9", name: "", language: "fre" },
  ];
  assert.deepEqual(withNames(told, named), [
    { id: "1", name: "Original", language: "eng" },
    { id: "4", name: "Deutsch", language: "de" },
    { id: "9", name: "", language: "fre" },
  ]);
  assert.deepEqual(withNames(told, []), told);
});
