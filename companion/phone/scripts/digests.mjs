// The SHA-256 of every file of the built page and of the terminal phone, as sha256sum writes them:
//
//   node scripts/digests.mjs                        prints them
//   node scripts/digests.mjs https://relay.example  compares what a relay serves with them
//   node scripts/digests.mjs --write                writes them beside the page, as dist/digests.txt
//
// Who builds the same sources with the same packages (npm ci) gets the same files.
import { createHash } from "node:crypto";
import { existsSync, readFileSync, readdirSync, statSync, writeFileSync } from "node:fs";
import { fileURLToPath } from "node:url";

const dist = process.env["QUILLARD_DIST"] ?? fileURLToPath(new URL("../dist", import.meta.url));
const digestOf = (bytes) => createHash("sha256").update(bytes).digest("hex");

/** Compressed forms are left out: they are made of the files here by whatever version of the tools. */
export function digests(folder) {
  return readdirSync(folder, { recursive: true, encoding: "utf8" })
    .map((name) => name.replaceAll("\\", "/"))
    .filter((name) => /^(page|terminal)\//.test(name) && !/\.(br|gz)$/.test(name))
    .filter((name) => statSync(`${folder}/${name}`).isFile())
    .sort()
    .map((name) => [digestOf(readFileSync(`${folder}/${name}`)), name]);
}

export function textOf(list) {
  return list.map(([digest, name]) => `${digest}  ${name}\n`).join("");
}

async function compare(relay, list) {
  let isSame = true;
  for (const [digest, name] of list) {
    if (!name.startsWith("page/")) continue;
    const path = name === "page/index.html" ? "/" : name.slice("page".length);
    const answer = await fetch(new URL(path, relay), { redirect: "error", cache: "no-store" });
    const served = answer.ok ? digestOf(Buffer.from(await answer.arrayBuffer())) : `HTTP ${answer.status}`;
    if (served === digest) continue;
    isSame = false;
    console.log(`${name}: ${served}, and not ${digest}`);
  }
  console.log(isSame ? "It serves what was built here." : "It serves something else than was built here.");
  return isSame;
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  if (!existsSync(`${dist}/page/index.html`)) throw new Error("The page was not built.");
  const list = digests(dist);
  const [given] = process.argv.slice(2);
  if (given === "--write") writeFileSync(`${dist}/digests.txt`, textOf(list));
  else if (given === undefined) process.stdout.write(textOf(list));
  else process.exitCode = (await compare(given, list)) ? 0 : 1;
}
