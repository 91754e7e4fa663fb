// How many bytes the built page takes on its way to a phone, and that they stay below what they may be:
// node scripts/pageSize.mjs. What is fetched before a computer is paired counts; what comes later, and what alerts need, have bounds of their own.
import { readdirSync, statSync } from "node:fs";
import { fileURLToPath } from "node:url";

const kMost = 45_000; // With what reads the camera's pictures.
const kMostLater = 14_000;
const kMostForAlerts = 32_000; // Fetched after the page is drawn; three quarters of it are the worker, for those who want it.
const kLater = /MoreViews|lock-/;
const kForAlerts = /push/;
const page = fileURLToPath(new URL("../dist/page", import.meta.url));
const texts = readdirSync(page, { recursive: true, encoding: "utf8" }).filter((name) =>
  /\.(?:html|js|css|svg|json|webmanifest)$/.test(name),
);
const size = (name) => statSync(`${page}/${name}`).size;

const isGerman = (name) => /^assets\/de\/|-de\.js$|^index\.de\./.test(name);
/** Whether it is the English form of a script that there is in German, too. */
function hasGerman(name) {
  const german = name
    .replace("assets/", "assets/de/")
    .replace(/^push-worker\./, "push-worker-de.")
    .replace(/^index\.en\./, "index.de.");
  return german !== name && texts.includes(german);
}

/** Who visits fetches what is for all, and the scripts in one language. */
function measure(language, isFetched) {
  const fetched = texts.filter(isFetched);
  const sum = (which) => fetched.filter(which).reduce((bytes, name) => bytes + size(`${name}.br`), 0);
  const forAlerts = sum((name) => kForAlerts.test(name));
  const later = sum((name) => kLater.test(name));
  const first = sum((name) => !kForAlerts.test(name) && !kLater.test(name));
  console.log(`${language}:`);
  console.log(`${String(first).padStart(7)} br before a computer is paired; at most ${kMost}`);
  console.log(`${String(later).padStart(7)} br later; at most ${kMostLater}`);
  console.log(`${String(forAlerts).padStart(7)} br for alerts; at most ${kMostForAlerts}`);
  if (forAlerts === 0) throw new Error("The worker for alerts was not built.");
  if (later === 0) throw new Error("What is fetched later is not a part of its own any more.");
  if (fetched.length < 6) throw new Error("The page has fewer files than it is made of: it was not built.");
  if (first > kMost || later > kMostLater || forAlerts > kMostForAlerts)
    throw new Error("The page has become too large.");
}

for (const name of texts) {
  const [brotli, gzip] = [size(`${name}.br`), size(`${name}.gz`)];
  console.log(
    `${String(brotli).padStart(7)} br ${String(gzip).padStart(7)} gzip ${String(size(name)).padStart(7)} plain  ${name}`,
  );
}
if (!texts.some(isGerman)) throw new Error("The page in German was not built.");
/** Who visits gets one of these, in their language. */
const isForNobody = (name) => name === "index.html";
measure("English", (name) => !isForNobody(name) && !isGerman(name));
measure("German", (name) => !isForNobody(name) && !hasGerman(name));
