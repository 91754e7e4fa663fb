// The code in a picture file.
import { say } from "../language/say";
import { CodeReader } from "./CodeReader";
import { imageOf } from "./imageOf";

// A screenshot of a large screen keeps its pixels; a photo has more than it needs.
const kLargestSide = 2600;
const kLargestFile = 60_000_000;

function loaded(url: string): Promise<HTMLImageElement> {
  return new Promise((resolve, reject) => {
    const image = new Image();
    image.onload = () => resolve(image);
    image.onerror = () => reject(new Error(say("This file is no picture that the browser can show.")));
    image.src = url;
  });
}

/** Absent: there is no code in it. Rejects with an Error whose message is for people. */
export async function readPicture(file: Blob): Promise<string | undefined> {
  if (file.size > kLargestFile) throw new Error(say("This picture is too large."));
  const url = URL.createObjectURL(file);
  const reader = new CodeReader();
  try {
    const image = await loaded(url);
    const pixels = imageOf(image, image.naturalWidth, image.naturalHeight, kLargestSide);
    return pixels && (await reader.read(pixels, "thorough"));
  } finally {
    reader.close();
    URL.revokeObjectURL(url);
  }
}
