// Which messages the programs can print, read from their sources, and which ones a page explains.
//
// The rule. A piece is a text of the sources, of two words or more, as it stands between what varies: adjacent literals
// are one text, which ends at a line's end, at a mark of a format (%s, %1) and at whatever is put in with "+". A page
// writes what varies as "…", so its messages fall apart into the same pieces, and two sets of texts are compared: what
// is in one of them alone is a mistake. Texts of one word are not asked for, since they say nothing by themselves.
//
// In files that describe a command line, options are described without a full stop: such texts count only where they
// end or begin as a message does. What else is no message is listed in not-messages.txt, file by file, with its reason.
import { readFileSync, readdirSync, statSync } from "node:fs";
import { join, relative } from "node:path";

const kFolders = ["src", "companion/relay", "demo"];
const kNoProduct =
  /Test\.cpp$|\/TestCatalogues\.h$|MemoryPairingStore\.h$|MemoryPushStore\.h$|PushWorld\.h$|RelayWorld\.h$|ClusterWorld\.h$|^src\/platform\/simulated\//;
const kCommandLines = /CommandLine\.cpp$|RelaySetup\.cpp$|^demo\/Main\.cpp$/;
const kLiteral =
  /\/\/[^\n]*|\/\*[\s\S]*?\*\/|'(?:\\.|[^'\\\n])'|R"(\w*)\([\s\S]*?\)\1"|"(?:\\.|[^"\\\n])*"(?:\s*"(?:\\.|[^"\\\n])*")*/g;
const kPart = /"((?:\\.|[^"\\\n])*)"/g;
const kVaries = /%(?:zu|ld|d|s|\d)/;
const kTwoWords = /[\p{L}\d'’,.:)"]+ [\p{L}(]+/u;

// The files of the programs, relative to `root`, in order.
export function sourcesBelow(root) {
  const found = [];
  const walk = (folder) => {
    for (const name of readdirSync(folder).sort()) {
      const path = join(folder, name);
      if (statSync(path).isDirectory()) walk(path);
      else if (/\.(cpp|h|mm)$/.test(name)) found.push(relative(root, path));
    }
  };
  for (const folder of kFolders) walk(join(root, folder));
  return found.filter((path) => !kNoProduct.test(path));
}

// What the compiler makes of the escapes that our texts have.
const unescaped = (text) => text.replace(/\\([nrt"\\])/g, (_, c) => ({ n: "\n", r: "\r", t: "\t" })[c] ?? c);

// All literals of a source but those of #include, with adjacent ones joined. Raw strings are no texts for people.
export function literalsOf(source) {
  const literals = [];
  for (const match of source.matchAll(kLiteral)) {
    if (match[0][0] !== '"') continue;
    const line = source.slice(source.lastIndexOf("\n", match.index) + 1, match.index);
    if (!line.startsWith("#include"))
      literals.push([...match[0].matchAll(kPart)].map((part) => part[1]).join(""));
  }
  return literals.map(unescaped);
}

// The pieces of one text, also those of one word.
export function piecesOf(text) {
  return text
    .split("\n")
    .flatMap((line) => line.split(kVaries))
    .map((piece) => piece.trim())
    .filter(Boolean);
}

const looksLikeAMessage = (text) => /[.:!?\s]$/.test(text) || /^[\s:,.]/.test(text);

// Maps each piece of two words or more to the first file that has it; `all` holds every piece, also shorter ones.
export function messagesOf(root, notMessages) {
  const messages = new Map();
  const all = new Set();
  for (const path of sourcesBelow(root)) {
    for (const literal of literalsOf(readFileSync(join(root, path), "utf8"))) {
      if (notMessages.excludes(path, literal)) continue;
      for (const piece of piecesOf(literal)) {
        all.add(piece);
        if (!kTwoWords.test(piece) || (kCommandLines.test(path) && !looksLikeAMessage(literal))) continue;
        if (!messages.has(piece)) messages.set(piece, path);
      }
    }
  }
  return { messages, all };
}

// The list of what is no message: "PATH <tab> TEXT <tab> REASON", where a path that ends with "/" is a folder, and TEXT is
// what the literal begins with, or "*".
export class NotMessages {
  constructor(text) {
    this.rows = text
      .split("\n")
      .filter((line) => line && !line.startsWith("#"))
      .map((line) => {
        const [path, start, reason] = line.split("\t");
        return { path, start, reason, used: false };
      });
  }

  excludes(path, literal) {
    const row = this.rows.find(
      (one) =>
        (one.path.endsWith("/") ? path.startsWith(one.path) : path === one.path) &&
        (one.start === "*" || literal.trim().startsWith(one.start)),
    );
    if (row) row.used = true;
    return row !== undefined;
  }
}

// The messages of a page: what stands in backticks in the first column of its tables. Several stand with <br> between.
export function messagesOfPage(page) {
  return page
    .split("\n")
    .filter((line) => /^\| `/.test(line))
    .flatMap((line) => [...line.split(" | ")[0].matchAll(/`([^`]+)`/g)].map((match) => match[1]));
}

export const piecesOfPage = (page) =>
  new Set(
    messagesOfPage(page).flatMap((message) =>
      message
        .split("…")
        .map((piece) => piece.trim())
        .filter(Boolean),
    ),
  );
