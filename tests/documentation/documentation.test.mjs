// Holds the pages for people to what the sources say. Run by the tests' `documentation`, or alone:
//   node --test tests/documentation
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { test } from "node:test";
import { fileURLToPath } from "node:url";

import { NotMessages, literalsOf, messagesOf, messagesOfPage, piecesOf, piecesOfPage } from "./messages.mjs";

const folder = dirname(fileURLToPath(import.meta.url));
const root = join(folder, "../..");
const read = (path) => readFileSync(join(root, path), "utf8");

test("a literal is read as the compiler reads it", () => {
  const source = '#include "one two.h"\n// "three four"\nprint("It \\"is\\" "\n      "joined: " + name + "; so is\\nthis.", \'"\');';
  assert.deepEqual(literalsOf(source), ['It "is" joined: ', "; so is\nthis."]);
  assert.deepEqual(piecesOf("one line\n%zu of %s lines\n"), ["one line", "of", "lines"]);
});

test("a page's messages stand in backticks in the first column", () => {
  const page = "| message | meaning |\n| --- | --- |\n| `The … is old.`<br>`So` | see `this` |\n`no table`\n";
  assert.deepEqual(messagesOfPage(page), ["The … is old.", "So"]);
  assert.deepEqual([...piecesOfPage(page)], ["The", "is old.", "So"]);
});

test("every message that the programs print is in the troubleshooting page, and none that they do not", () => {
  const notMessages = new NotMessages(read("tests/documentation/not-messages.txt"));
  const { messages, all } = messagesOf(root, notMessages);
  assert.ok(messages.size > 300, `only ${messages.size} messages were found in the sources`);
  const explained = piecesOfPage(read("docs/troubleshooting.md"));
  const missing = [...messages].filter(([piece]) => !explained.has(piece)).map(([piece, path]) => `${path}: ${piece}`);
  const invented = [...explained].filter((piece) => !all.has(piece));
  const useless = notMessages.rows.filter((row) => !row.used || !row.reason).map((row) => `${row.path}: ${row.start}`);
  assert.deepEqual({ missing, invented, useless }, { missing: [], invented: [], useless: [] });
});
