// Finds the code in a picture, however it lies in there.
import jsQR from "jsqr";
import { crop, enlarge, shrink, tiles } from "./pixels";
import type { Pixels } from "./pixels";

/** quick: one scan, for the many frames of a camera. thorough: many scans, for the one picture that a person picked. */
export type Effort = "quick" | "thorough";

// A code of a phone's photo fills hundreds of pixels; more of them only cost time.
const kComfortableSides = [1400, 900, 560];
// Sides of the tiles of a screenshot in which a window with a code stands somewhere.
const kTileSides = [640, 420];
const kEnlarged = 2;

function scan(pixels: Pixels): string | undefined {
  const found = jsQR(pixels.data, pixels.width, pixels.height, { inversionAttempts: "dontInvert" });
  return found && found.data !== "" ? found.data : undefined;
}

/** The pictures that are scanned, one after another, until one gives the code. */
function* views(pixels: Pixels): Generator<Pixels> {
  const side = Math.max(pixels.width, pixels.height);
  if (side <= 1600) yield pixels;
  for (const comfortable of kComfortableSides) {
    if (side > comfortable) yield shrink(pixels, side / comfortable);
  }
  if (side <= 1000) yield enlarge(pixels, kEnlarged);
  for (const tileSide of kTileSides) {
    for (const box of tiles(pixels.width, pixels.height, tileSide)) {
      const tile = crop(pixels, box);
      yield tile;
      yield enlarge(tile, kEnlarged);
    }
  }
}

/** What the first code that is found holds. Absent: none was found. */
export function findCode(pixels: Pixels, effort: Effort): string | undefined {
  if (effort === "quick") return scan(pixels);
  for (const view of views(pixels)) {
    const text = scan(view);
    if (text !== undefined) return text;
  }
  return undefined;
}
