// Where the picture lies inside its frame: as large as fits, in the middle.

export interface Size {
  width: number;
  height: number;
}

export interface PictureBox extends Size {
  below: number; // what of the frame lies below the picture
}

// A picture of no size fills the frame.
export function pictureBox(frame: Size, picture: Size): PictureBox {
  if (!(picture.width > 0 && picture.height > 0)) return { ...frame, below: 0 };
  const scale = Math.min(frame.width / picture.width, frame.height / picture.height);
  const height = picture.height * scale;
  return { width: picture.width * scale, height, below: (frame.height - height) / 2 };
}
