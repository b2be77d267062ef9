import assert from "node:assert/strict";
import { test } from "node:test";
import { pictureBox, type PictureBox, type Size } from "../src/picture_box.ts";

const kBoxes: [string, Size, Size, PictureBox][] = [
  ["as wide as its frame", { width: 400, height: 800 }, { width: 1920, height: 1080 }, { width: 400, height: 225, below: 287.5 }],
  ["as high as its frame", { width: 800, height: 300 }, { width: 640, height: 480 }, { width: 400, height: 300, below: 0 }],
  ["as large as its frame", { width: 640, height: 480 }, { width: 640, height: 480 }, { width: 640, height: 480, below: 0 }],
  ["of no size", { width: 640, height: 480 }, { width: 0, height: 0 }, { width: 640, height: 480, below: 0 }],
  ["in no frame", { width: 0, height: 0 }, { width: 640, height: 480 }, { width: 0, height: 0, below: 0 }],
];
for (const [what, frame, picture, box] of kBoxes) {
  test(`PictureBox.IsWhereThePictureLies(${what})`, () => assert.deepEqual(pictureBox(frame, picture), box));
}
