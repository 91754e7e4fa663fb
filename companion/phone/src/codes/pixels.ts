// Pictures as plain numbers, and what is done to them before a code is searched. No DOM: it runs in a worker, and in tests.

/** Red, green, blue, alpha for each pixel, row by row from the top left. */
export interface Pixels {
  readonly data: Uint8ClampedArray;
  readonly width: number;
  readonly height: number;
}

export interface Box {
  readonly x: number;
  readonly y: number;
  readonly width: number;
  readonly height: number;
}

/** A part of a picture. The box lies within it. */
export function crop(pixels: Pixels, box: Box): Pixels {
  const data = new Uint8ClampedArray(box.width * box.height * 4);
  for (let row = 0; row < box.height; ++row) {
    const from = ((box.y + row) * pixels.width + box.x) * 4;
    data.set(pixels.data.subarray(from, from + box.width * 4), row * box.width * 4);
  }
  return { data, width: box.width, height: box.height };
}

/** Each pixel becomes a square of `times` by `times`. */
export function enlarge(pixels: Pixels, times: number): Pixels {
  const width = pixels.width * times;
  const height = pixels.height * times;
  const source = new Uint32Array(pixels.data.buffer, pixels.data.byteOffset, pixels.width * pixels.height);
  const target = new Uint32Array(width * height);
  for (let y = 0; y < height; ++y) {
    const row = Math.floor(y / times) * pixels.width;
    for (let x = 0; x < width; ++x) target[y * width + x] = source[row + Math.floor(x / times)] ?? 0;
  }
  return { data: new Uint8ClampedArray(target.buffer), width, height };
}

/** Smaller by `factor` (more than 1): each new pixel is the mean of those that it covers. */
export function shrink(pixels: Pixels, factor: number): Pixels {
  const width = Math.max(1, Math.floor(pixels.width / factor));
  const height = Math.max(1, Math.floor(pixels.height / factor));
  const data = new Uint8ClampedArray(width * height * 4);
  for (let y = 0; y < height; ++y) {
    const top = Math.floor(y * factor);
    const bottom = Math.min(pixels.height, Math.max(top + 1, Math.floor((y + 1) * factor)));
    for (let x = 0; x < width; ++x) {
      const left = Math.floor(x * factor);
      const right = Math.min(pixels.width, Math.max(left + 1, Math.floor((x + 1) * factor)));
      let sum = 0;
      for (let row = top; row < bottom; ++row) {
        for (let column = left; column < right; ++column) {
          const at = (row * pixels.width + column) * 4;
          // As bright as an eye takes it: codes are read in grey.
          sum +=
            0.299 * (pixels.data[at] ?? 0) +
            0.587 * (pixels.data[at + 1] ?? 0) +
            0.114 * (pixels.data[at + 2] ?? 0);
        }
      }
      const grey = sum / ((bottom - top) * (right - left));
      data.fill(grey, (y * width + x) * 4, (y * width + x) * 4 + 3);
      data[(y * width + x) * 4 + 3] = 255;
    }
  }
  return { data, width, height };
}

/** Squares of `side` that cover the picture, each overlapping its neighbours by half, so that none cuts a code smaller than that. */
export function tiles(width: number, height: number, side: number): Box[] {
  const starts = (length: number): number[] => {
    if (length <= side) return [0];
    const count = Math.ceil((length - side) / (side / 2)) + 1;
    return Array.from({ length: count }, (_, index) => Math.round(((length - side) * index) / (count - 1)));
  };
  return starts(height).flatMap((y) =>
    starts(width).map((x) => ({ x, y, width: Math.min(side, width), height: Math.min(side, height) })),
  );
}
