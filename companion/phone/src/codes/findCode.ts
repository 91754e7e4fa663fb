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
// Of each side of what the camera sees, when the whole gave none: a second code at its edge hides the one in the middle.
const kMiddle = 0.6;

type Corner = { readonly x: number; readonly y: number };

interface Found {
  readonly text: string;
  readonly corners: readonly Corner[];
}

function scan(pixels: Pixels): Found | undefined {
  const found = jsQR(pixels.data, pixels.width, pixels.height, { inversionAttempts: "dontInvert" });
  if (!found || found.data === "") return undefined;
  const { topLeftCorner, topRightCorner, bottomLeftCorner, bottomRightCorner } = found.location;
  return { text: found.data, corners: [topLeftCorner, topRightCorner, bottomLeftCorner, bottomRightCorner] };
}

/** The computer's window shows the page's address as a code, too, beside the one that pairs. */
function isAddress(text: string): boolean {
  return /^https?:/i.test(text);
}

function cover(pixels: Pixels, corners: readonly Corner[]): Pixels {
  const data = pixels.data.slice();
  const within = (value: number, length: number) => Math.min(length, Math.max(0, Math.round(value)));
  const [left, right] = [
    within(Math.min(...corners.map(({ x }) => x)), pixels.width),
    within(Math.max(...corners.map(({ x }) => x)), pixels.width),
  ];
  const [top, bottom] = [
    within(Math.min(...corners.map(({ y }) => y)), pixels.height),
    within(Math.max(...corners.map(({ y }) => y)), pixels.height),
  ];
  for (let y = top; y < bottom; ++y) {
    data.fill(255, (y * pixels.width + left) * 4, (y * pixels.width + right) * 4);
  }
  return { data, width: pixels.width, height: pixels.height };
}

/** An address is only taken when there is nothing else to be seen. */
function textIn(pixels: Pixels): string | undefined {
  const found = scan(pixels);
  if (!found || !isAddress(found.text)) return found?.text;
  return scan(cover(pixels, found.corners))?.text ?? found.text;
}

function middle(pixels: Pixels): Pixels {
  const [width, height] = [Math.ceil(pixels.width * kMiddle), Math.ceil(pixels.height * kMiddle)];
  const [x, y] = [Math.floor((pixels.width - width) / 2), Math.floor((pixels.height - height) / 2)];
  return crop(pixels, { x, y, width, height });
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

/** What the first code that is found holds, one that pairs before an address. Absent: none was found. */
export function findCode(pixels: Pixels, effort: Effort): string | undefined {
  if (effort === "quick") return textIn(pixels) ?? textIn(middle(pixels));
  let address: string | undefined;
  for (const view of views(pixels)) {
    const text = textIn(view);
    if (text !== undefined && !isAddress(text)) return text;
    address ??= text;
  }
  return address;
}
