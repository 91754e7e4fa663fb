// Holds the pages for people to what the sources say. Run by the tests' `documentation`, or alone:
//   node --test tests/documentation
import assert from "node:assert/strict";
import { existsSync, readFileSync, readdirSync } from "node:fs";
import { dirname, join, relative } from "node:path";
import { test } from "node:test";
import { fileURLToPath } from "node:url";

import {
  NotMessages,
  literalsOf,
  messagesOf,
  messagesOfPage,
  piecesOf,
  piecesOfPage,
  sourcesBelow,
} from "./messages.mjs";
import {
  agentVariablesOf,
  areRounded,
  namesIn,
  relayOptionsOf,
  rowsOf,
  storedKeysOf,
  tunablesOf,
  variablesOf,
} from "./settings.mjs";

const folder = dirname(fileURLToPath(import.meta.url));
const root = join(folder, "../..");
const page = (path) => readFileSync(join(root, path), "utf8");
const differences = (inSources, inPage) => ({
  missing: [...inSources].filter((name) => !inPage.has(name)),
  invented: [...inPage].filter((name) => !inSources.has(name)),
});

test("a literal is read as the compiler reads it", () => {
  const source =
    '#include "one two.h"\n// "three four"\nprint("It \\"is\\" "\n      "joined: " + name + "; so is\\nthis.", \'"\');';
  assert.deepEqual(literalsOf(source), ['It "is" joined: ', "; so is\nthis."]);
  assert.deepEqual(piecesOf("one line\n%zu of %s lines\n"), ["one line", "of", "lines"]);
});

test("a page's messages stand in backticks in the first column", () => {
  const text = "| message | meaning |\n| --- | --- |\n| `The … is old.`<br>`So` | see `this` |\n`no table`\n";
  assert.deepEqual(messagesOfPage(text), ["The … is old.", "So"]);
  assert.deepEqual([...piecesOfPage(text)], ["The", "is old.", "So"]);
});

test("every message that the programs print is in the troubleshooting page, and none that they do not", () => {
  const notMessages = new NotMessages(page("tests/documentation/not-messages.txt"));
  const { messages, all } = messagesOf(root, notMessages);
  assert.ok(messages.size > 300, `only ${messages.size} messages were found in the sources`);
  const explained = piecesOfPage(page("docs/troubleshooting.md"));
  const missing = [...messages]
    .filter(([piece]) => !explained.has(piece))
    .map(([piece, path]) => `${path}: ${piece}`);
  const invented = [...explained].filter((piece) => !all.has(piece));
  const useless = notMessages.rows
    .filter((row) => !row.used || !row.reason)
    .map((row) => `${row.path}: ${row.start}`);
  assert.deepEqual({ missing, invented, useless }, { missing: [], invented: [], useless: [] });
});

test("every variable that is read is in the page of settings, and none that is not", () => {
  const read = variablesOf(root);
  assert.ok(read.size > 40, `only ${read.size} variables were found in the sources`);
  const names = rowsOf(page("docs/settings.md")).flatMap(([first]) => namesIn(first, "[A-Z][A-Z0-9_]+"));
  assert.deepEqual(differences(read, new Set(names)), { missing: [], invented: [] });
});

test("every variable that the agent reads is in its manual", () => {
  const read = agentVariablesOf(root);
  assert.ok(read.size > 30, `only ${read.size} variables were found in the sources`);
  const manual = page("docs/quillard.1");
  assert.deepEqual(
    [...read].filter((name) => !new RegExp(`\\b${name}\\b`).test(manual)),
    [],
  );
});

test("the page of settings gives the agent's defaults", () => {
  const tunables = tunablesOf(root);
  assert.ok(tunables.size >= 12, `only ${tunables.size} tunables were found`);
  const rows = rowsOf(page("docs/settings.md"));
  for (const [name, { setting, fallback }] of tunables) {
    if (!name.startsWith("QUILLARD_")) continue;
    const row = rows.find(([first]) => first === `\`${name}\``);
    assert.deepEqual(row?.slice(1, 3), [`\`${setting}\``, fallback], name);
  }
});

test("what the agent remembers, and the bundled file, are in the page of settings", () => {
  const names = rowsOf(page("docs/settings.md")).flatMap(([first]) =>
    namesIn(first, "quillard\\.[a-z0-9-]+|relayURL"),
  );
  const stored = storedKeysOf(root);
  assert.ok(stored.size > 6, `only ${stored.size} keys were found`);
  assert.deepEqual(differences(stored, new Set(names)), { missing: [], invented: [] });
});

test("what the page of Linux desktops says of their own prompts is held by tests that are there", () => {
  const names = new Set(
    rowsOf(page("docs/linux.md"))
      .filter((row) => row.length >= 6)
      .flatMap((row) => namesIn(row.at(-1), "[A-Z]\\w+")),
  );
  assert.ok(names.size > 10, `only ${names.size} names of tests were found`);
  const sources = ["tests/desktop", "tests/e2e", "src/app"].flatMap((folder) =>
    readdirSync(join(root, folder))
      .filter((name) => name.endsWith("Test.cpp"))
      .map((name) => readFileSync(join(root, folder, name), "utf8")),
  );
  const missing = [...names].filter((name) => !sources.some((text) => text.includes(`, ${name})`)));
  assert.deepEqual(missing, []);
});

test("a default may be rounded, and no more", () => {
  const rows = [
    ["20, 0.33", "20, 0.3333333333", true],
    ["20, 0.34", "20, 0.3333333333", false],
    ["20, 0", "20, 0.3333333333", false],
    ["20", "20, 0.5", false],
    ["400", "400", true],
  ];
  for (const [written, exact, expected] of rows) assert.equal(areRounded(written, exact), expected, written);
});

test("every option of the relay is in its page, with its default", () => {
  const options = relayOptionsOf(root);
  assert.ok(options.size > 35, `only ${options.size} options were found`);
  const rows = rowsOf(page("docs/relay.md"));
  const explained = new Map(
    rows.flatMap(([first, second]) => namesIn(first, "--[a-z-]+").map((name) => [name.slice(2), second])),
  );
  assert.deepEqual(differences(new Set(options.keys()), new Set(explained.keys())), {
    missing: [],
    invented: [],
  });
  for (const [name, fallback] of options) {
    if (fallback === undefined) continue;
    assert.ok(
      areRounded(explained.get(name), fallback),
      `${name}: ${explained.get(name)} is not ${fallback}`,
    );
  }
});

test("every link of a page leads to a file and a heading that are there", () => {
  const anchorOf = (heading) =>
    heading
      .toLowerCase()
      .replace(/[^\p{L}\d\s_-]/gu, "")
      .trim()
      .replace(/\s/g, "-");
  const anchorsOf = (path) =>
    page(path)
      .split("\n")
      .filter((line) => /^#+ /.test(line))
      .map((line) => anchorOf(line.replace(/^#+ /, "")));
  const pages = [root, join(root, "docs")].flatMap((parent) =>
    readdirSync(parent)
      .filter((name) => name.endsWith(".md"))
      .map((name) => relative(root, join(parent, name))),
  );
  assert.ok(pages.length > 10);
  const broken = [];
  for (const path of pages) {
    for (const [, link] of page(path).matchAll(/\]\(([^)\s]+)\)|src="[^"]+"/g)) {
      if (link === undefined || /^https?:/.test(link)) continue;
      const [file, anchor] = link.split("#");
      const target = file === "" ? path : relative(root, join(root, dirname(path), file));
      const isThere = existsSync(join(root, target)) && (!anchor || anchorsOf(target).includes(anchor));
      if (!isThere) broken.push(`${path}: ${link}`);
    }
  }
  assert.deepEqual(broken, []);
});

test("the README fits one screen before its pictures, and leads to every page", () => {
  const readme = page("README.md");
  assert.ok(readme.slice(0, readme.indexOf("<img")).split("\n").length <= 30);
  const pages = readdirSync(join(root, "docs")).filter((name) => name.endsWith(".md"));
  assert.deepEqual(
    pages.filter((name) => !readme.includes(`(docs/${name})`)),
    [],
  );
});

test("the version stands in one place", () => {
  const [, version] = /^project\(Quillard VERSION (\d+\.\d+\.\d+) /m.exec(page("CMakeLists.txt")) ?? [];
  assert.ok(version, "CMakeLists.txt gives no version");
  for (const path of ["companion/phone/package.json", "companion/phone/package-lock.json"]) {
    const { version: other, packages } = JSON.parse(page(path));
    assert.deepEqual([other, packages?.[""].version], [undefined, undefined], path);
  }
  const sources = sourcesBelow(root).filter((path) => page(path).includes(`"${version}"`));
  assert.deepEqual(sources, []);
});

test("the workflows start what is there, with presets that are there", () => {
  const folder = ".github/workflows";
  const workflows = readdirSync(join(root, folder)).map((name) => page(`${folder}/${name}`));
  const presets = JSON.parse(page("CMakePresets.json")).configurePresets.map(({ name }) => name);
  const usable = new Set([...presets, "tidy"]);
  const named = workflows.flatMap((text) => [
    ...[...text.matchAll(/--preset ([\w-]+)/g)].map((match) => match[1]),
    ...[...text.matchAll(/'(\[[^']+\])'/g)].flatMap((match) => JSON.parse(match[1])),
  ]);
  assert.ok(named.includes("dev") && named.includes("macos"), named.join(" "));
  assert.deepEqual(
    named.filter((name) => !usable.has(name)),
    [],
  );
  const programs = workflows.flatMap((text) =>
    [...text.matchAll(/^[^#\n]*?((?:scripts|packaging)\/[\w./-]+|\.\/test)\b/gm)].map((match) => match[1]),
  );
  assert.ok(programs.includes("./test"));
  assert.deepEqual(
    programs.filter((path) => !existsSync(join(root, path))),
    [],
  );
});
