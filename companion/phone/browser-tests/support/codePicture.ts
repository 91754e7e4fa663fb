// Pictures of codes: as a screenshot of a desktop, and as what a camera sees.
import { writeFileSync } from "node:fs";
import { PNG } from "pngjs";
import qrcode from "qrcode-generator";

/** A desktop of 1280 by 800 with a window on it, which shows the code of `text` at about 500 pixels. */
function desktop(text: string): PNG {
  const picture = new PNG({ width: 1280, height: 800 });
  const paint = (
    left: number,
    top: number,
    width: number,
    height: number,
    red: number,
    green: number,
    blue: number,
  ) => {
    for (let y = top; y < top + height; ++y) {
      for (let x = left; x < left + width; ++x)
        picture.data.set([red, green, blue, 255], (y * picture.width + x) * 4);
    }
  };
  paint(0, 0, 1280, 800, 46, 82, 98);
  paint(0, 0, 1280, 26, 230, 230, 235);
  paint(180, 70, 960, 690, 243, 245, 244);
  for (let row = 0; row < 5; ++row) paint(780, 160 + row * 110, 330, 90, 255, 255, 255);
  const code = qrcode(0, "M");
  code.addData(text, "Byte");
  code.make();
  const count = code.getModuleCount();
  const module = Math.floor(500 / (count + 8));
  paint(220, 140, (count + 8) * module, (count + 8) * module, 255, 255, 255);
  for (let row = 0; row < count; ++row) {
    for (let column = 0; column < count; ++column) {
      if (code.isDark(row, column)) {
        paint(220 + (column + 4) * module, 140 + (row + 4) * module, module, module, 0, 0, 0);
      }
    }
  }
  return picture;
}

export function desktopPicture(text: string): Buffer {
  return PNG.sync.write(desktop(text));
}

/** A picture without any code. */
export function emptyPicture(): Buffer {
  const picture = new PNG({ width: 320, height: 240 });
  picture.data.fill(200);
  return PNG.sync.write(picture);
}

/** A film of one frame, as the browser's made-up camera takes it: it sees the desktop. */
export function writeFilm(path: string, text: string): void {
  const { width, height, data } = desktop(text);
  const luma = Buffer.alloc(width * height);
  for (let at = 0; at < luma.length; ++at) {
    luma[at] =
      16 + ((data[at * 4] ?? 0) * 65.7 + (data[at * 4 + 1] ?? 0) * 129 + (data[at * 4 + 2] ?? 0) * 25) / 256;
  }
  const chroma = Buffer.alloc((width * height) / 2, 128);
  const head = Buffer.from(`YUV4MPEG2 W${width} H${height} F15:1 Ip A1:1 C420jpeg\n`);
  const frame = Buffer.concat([Buffer.from("FRAME\n"), luma, chroma]);
  writeFileSync(path, Buffer.concat([head, frame, frame]));
}
