// A frame or a picture as pixels, made smaller where it is larger than needed.

/** `width`, `height`: the source's own size. Absent: it cannot be drawn (yet). */
export function imageOf(
  source: CanvasImageSource,
  width: number,
  height: number,
  largestSide: number,
): ImageData | undefined {
  const factor = Math.min(1, largestSide / Math.max(width, height));
  const canvas = document.createElement("canvas");
  canvas.width = Math.max(1, Math.round(width * factor));
  canvas.height = Math.max(1, Math.round(height * factor));
  const context = canvas.getContext("2d", { willReadFrequently: true });
  if (!context) return undefined;
  // A picture with clear parts is one on paper.
  context.fillStyle = "#fff";
  context.fillRect(0, 0, canvas.width, canvas.height);
  context.drawImage(source, 0, 0, canvas.width, canvas.height);
  return context.getImageData(0, 0, canvas.width, canvas.height);
}
