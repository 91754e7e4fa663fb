import { readFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { PNG } from "pngjs";
import qrcode from "qrcode-generator";
import { describe, expect, it } from "vitest";
import { findCode } from "./findCode";
import { crop, enlarge, shrink, tiles } from "./pixels";
import type { Pixels } from "./pixels";

const kText = JSON.stringify({
  type: "quillard.pairing",
  version: 1,
  backendURL: "https://relay.example.org:8443",
  pairingID: "00000000-0000-4000-8000-000000000000",
  relaySecret: "0123456789abcdef".repeat(4),
  e2eSecret: "fedcba9876543210".repeat(4),
});

function blank(width: number, height: number, grey: number): Pixels {
  const data = new Uint8ClampedArray(width * height * 4).fill(grey);
  for (let at = 3; at < data.length; at += 4) data[at] = 255;
  return { data, width, height };
}

/** The code of `text`, dark on light, with its quiet zone: `module` pixels a module. */
function draw(target: Pixels, text: string, left: number, top: number, module: number): number {
  const code = qrcode(0, "M");
  code.addData(text, "Byte");
  code.make();
  const count = code.getModuleCount();
  const side = (count + 8) * module;
  for (let y = 0; y < side; ++y) {
    for (let x = 0; x < side; ++x) {
      const row = Math.floor(y / module) - 4;
      const column = Math.floor(x / module) - 4;
      const isDark = row >= 0 && column >= 0 && row < count && column < count && code.isDark(row, column);
      target.data.fill(
        isDark ? 0 : 255,
        ((top + y) * target.width + left + x) * 4,
        ((top + y) * target.width + left + x) * 4 + 3,
      );
    }
  }
  return side;
}

function desktopPicture(name: string): Pixels {
  const here = dirname(fileURLToPath(import.meta.url));
  const png = PNG.sync.read(readFileSync(join(here, "../../../../docs/pictures", name)));
  return { data: new Uint8ClampedArray(png.data), width: png.width, height: png.height };
}

// Pictures are searched pixel by pixel: on a busy machine that takes its time.
const kTimeout = { timeout: 60_000 };

describe("a code in a picture", kTimeout, () => {
  it("is found in a plain picture of it", () => {
    const picture = blank(700, 700, 240);
    draw(picture, kText, 40, 40, 6);
    expect(findCode(picture, "quick")).toBe(kText);
  });

  it("is found wherever it stands on a large screen, and however small its modules are", () => {
    for (const [width, height, left, top, module] of [
      [1280, 800, 90, 160, 6],
      [1280, 800, 700, 250, 4],
      [1920, 1080, 1500, 600, 3],
      [2560, 1440, 30, 1000, 4],
    ] as const) {
      const picture = blank(width, height, 30);
      draw(picture, kText, left, top, module);
      expect(findCode(picture, "thorough"), `${width}x${height}, ${module} px a module`).toBe(kText);
    }
  });

  it("is found on a screenshot of the desktop's own window, which shows the page's address as a code, too", () => {
    const text = findCode(desktopPicture("status-window-dark.png"), "thorough");
    expect(JSON.parse(text ?? "null")).toMatchObject({ type: "sample", version: 1 });
  });

  it.each(["quick", "thorough"] as const)("is found beside the code of an address: %s", (effort) => {
    const picture = blank(1000, 800, 255);
    const side = draw(picture, kText, 270, 160, 6);
    expect(side).toBeLessThan(480);
    draw(picture, "https://relay.example", 20, 20, 4);
    expect(findCode(picture, effort)).toBe(kText);
  });

  it.each([3, 4, 5, 6])(
    "is found in the middle of what a camera sees, an address at the edge: %i px a module",
    (module) => {
      const picture = blank(1000, 1000, 255);
      draw(picture, kText, 265, 265, 6);
      draw(picture, "https://relay.example", 0, 0, module);
      expect(findCode(picture, "quick")).toBe(kText);
    },
  );

  it("may be that of an address alone, which is then told to be none that pairs", () => {
    const picture = blank(640, 480, 255);
    draw(picture, "https://relay.example", 40, 40, 6);
    expect(findCode(picture, "quick")).toBe("https://relay.example");
    expect(findCode(picture, "thorough")).toBe("https://relay.example");
  });

  it("is not made up where there is none", () => {
    expect(findCode(blank(640, 480, 255), "thorough")).toBeUndefined();
    expect(findCode(desktopPicture("status-window-setup.png"), "thorough")).toBeUndefined();
    expect(findCode(desktopPicture("status-window-light.png"), "thorough")).toBeUndefined();
  });

  it("keeps letters beyond ASCII", () => {
    const picture = blank(400, 400, 255);
    draw(picture, unescape(encodeURIComponent("Grüße ⟨✓⟩")), 10, 10, 6);
    expect(findCode(picture, "quick")).toBe("Grüße ⟨✓⟩");
  });
});

describe("pixels", () => {
  it("are cut out, enlarged and shrunk without being mixed up", () => {
    const picture = blank(4, 4, 0);
    picture.data.set([255, 255, 255, 255], (1 * 4 + 2) * 4);
    const cut = crop(picture, { x: 2, y: 1, width: 2, height: 2 });
    expect([...cut.data.subarray(0, 8)]).toEqual([255, 255, 255, 255, 0, 0, 0, 255]);
    const large = enlarge(cut, 3);
    expect([large.width, large.height]).toEqual([6, 6]);
    expect(large.data[(2 * 6 + 2) * 4]).toBe(255);
    expect(large.data[(2 * 6 + 3) * 4]).toBe(0);
    const small = shrink(picture, 2);
    expect([small.width, small.height]).toEqual([2, 2]);
    expect(small.data[4]).toBe(64);
  });

  it("are covered by tiles that overlap by half, up to the very edge", () => {
    const boxes = tiles(1000, 500, 400);
    expect(Math.max(...boxes.map((box) => box.x + box.width))).toBe(1000);
    expect(Math.max(...boxes.map((box) => box.y + box.height))).toBe(500);
    for (const box of boxes) {
      const next = boxes.find((other) => other.y === box.y && other.x > box.x);
      if (next) expect(next.x - box.x).toBeLessThanOrEqual(200);
    }
    expect(tiles(100, 80, 400)).toEqual([{ x: 0, y: 0, width: 100, height: 80 }]);
  });
});
