// How many bytes the built page takes on its way to a phone, and that they stay below what they may be:
// node scripts/pageSize.mjs. What is fetched before a computer is paired counts, and what comes later has a bound of its own.
import { readdirSync, statSync } from "node:fs";
import { fileURLToPath } from "node:url";

const kMost = 45_000; // With what reads the camera's pictures.
const kMostLater = 14_000;
const kLater = /MoreViews|lock-/;
const page = fileURLToPath(new URL("../dist/page", import.meta.url));
const texts = readdirSync(page, { recursive: true, encoding: "utf8" }).filter((name) =>
  /\.(?:html|js|css|svg|json|webmanifest)$/.test(name),
);
const size = (name) => statSync(`${page}/${name}`).size;

let sum = 0;
let later = 0;
for (const name of texts) {
  const [brotli, gzip] = [size(`${name}.br`), size(`${name}.gz`)];
  console.log(
    `${String(brotli).padStart(7)} br ${String(gzip).padStart(7)} gzip ${String(size(name)).padStart(7)} plain  ${name}`,
  );
  if (kLater.test(name)) later += brotli;
  else sum += brotli;
}
console.log(`${String(sum).padStart(7)} br before a computer is paired; at most ${kMost}`);
console.log(`${String(later).padStart(7)} br later; at most ${kMostLater}`);
if (later === 0) throw new Error("What is fetched later is not a part of its own any more.");
if (texts.length < 6) throw new Error("The page has fewer files than it is made of: it was not built.");
if (sum > kMost || later > kMostLater) throw new Error("The page has become too large.");
