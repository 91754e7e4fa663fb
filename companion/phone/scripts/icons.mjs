// Draws the icons that cannot be SVG from public/icon.svg: node scripts/icons.mjs
import { chromium } from "@playwright/test";
import { readFileSync } from "node:fs";
import { fileURLToPath } from "node:url";

const inPublic = (name) => fileURLToPath(new URL(`../public/${name}`, import.meta.url));
const drawing = readFileSync(inPublic("icon.svg"), "utf8");
// Systems that cut icons to a shape of their own want a ground without corners, and the mark well inside.
const square = drawing.replace(/<rect x="1"[^>]*>/, '<rect width="64" height="64" fill="url(#ground)" />');
const inset = (share) =>
  square.replace(
    /(<g stroke-width[\s\S]*)(<\/svg>)/,
    `<g transform="translate(32 32) scale(${share}) translate(-35.2 -34.6)">$1</g>$2`,
  );

const kIcons = [
  ["icon-192.png", 192, drawing],
  ["icon-512.png", 512, drawing],
  ["icon-maskable-512.png", 512, inset(0.78)],
  ["apple-touch-icon.png", 180, inset(0.95)],
];

const browser = await chromium.launch({
  executablePath: process.env["QUILLARD_CHROMIUM"] ?? "/usr/bin/chromium",
  args: ["--no-sandbox", "--disable-gpu"],
});
for (const [name, side, svg] of kIcons) {
  const page = await browser.newPage({ viewport: { width: side, height: side } });
  await page.setContent(
    `<style>body{margin:0}svg{display:block;width:${side}px;height:${side}px}</style>${svg}`,
  );
  await page.screenshot({ path: inPublic(name), omitBackground: true });
}
await browser.close();
