// Makes a copy of the built page that may be served from anywhere, and talks to one relay:
//
//   node scripts/pageElsewhere.mjs https://relay.example FOLDER
//
// The scripts are the same, byte for byte. index.html names the relay and holds the policy that the relay would send with it
// (but for what a page cannot say of itself: its place should also send `frame-ancestors 'none'`), and the service worker has
// another version. The relay has to be told where the page is: quillard-relay --page-origin https://phones.example
import { createHash } from "node:crypto";
import { cpSync, existsSync, readFileSync, readdirSync, rmSync, writeFileSync } from "node:fs";
import { fileURLToPath } from "node:url";

function relayOrigin(text) {
  const url = new URL(text);
  const isLocal = ["localhost", "127.0.0.1"].includes(url.hostname);
  if (url.protocol !== "https:" && !(url.protocol === "http:" && isLocal))
    throw new Error("The relay needs https.");
  if (url.pathname !== "/" || url.search !== "" || url.hash !== "" || url.username !== "") {
    throw new Error("The relay is named by scheme, host and port alone.");
  }
  return url.origin;
}

function replaced(text, pattern, replacement, what) {
  if (!pattern.test(text)) throw new Error(`${what} is not where it was.`);
  return text.replace(pattern, replacement);
}

const [relayGiven, folder] = process.argv.slice(2);
if (!relayGiven || !folder) throw new Error("Usage: node scripts/pageElsewhere.mjs RELAY FOLDER");
if (existsSync(folder)) throw new Error(`${folder} is there already.`);
const relay = relayOrigin(relayGiven);
const page = process.env["QUILLARD_PAGE"] ?? fileURLToPath(new URL("../dist/page", import.meta.url));
cpSync(page, folder, { recursive: true });

const policy = [
  "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:;",
  `connect-src 'self' ${relay} ${relay.replace(/^http/, "ws")};`,
  "manifest-src 'self'; worker-src 'self'; media-src 'self' blob:; base-uri 'none'; form-action 'none'",
].join(" ");
const heads = `<meta http-equiv="Content-Security-Policy" content="${policy}">\n    <meta name="quillard-relay" content="${relay}">\n    `;
const index = replaced(
  readFileSync(`${folder}/index.html`, "utf8"),
  /(?=<meta name="viewport")/,
  heads,
  "index.html's head",
);
writeFileSync(`${folder}/index.html`, index);
const version = createHash("sha256").update(index).digest("hex").slice(0, 16);
const worker = replaced(
  readFileSync(`${folder}/sw.js`, "utf8"),
  /kPageVersion\s*=\s*"[0-9a-f]{16}"/,
  `kPageVersion="${version}"`,
  "The service worker's version",
);
writeFileSync(`${folder}/sw.js`, worker);
// What was compressed before is another file now, and the beginnings that a relay chooses from hold no policy.
for (const name of readdirSync(folder)) {
  if (/^(index\.html|sw\.js)\.(br|gz)$|^index\.[a-z]{2}\.html/.test(name)) rmSync(`${folder}/${name}`);
}
console.log(`${folder} talks to ${relay}. Tell that relay: --page-origin ORIGIN, where the page will be.`);
