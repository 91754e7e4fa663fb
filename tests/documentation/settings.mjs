// Every setting that the sources know: what docs/settings.md and docs/relay.md have to name, with its default.
import { readFileSync, readdirSync, statSync } from "node:fs";
import { join } from "node:path";

import { sourcesBelow } from "./messages.mjs";

const kPrograms = ["run", "test"];
const kScriptFolders = ["scripts", "packaging/macos"];

const matches = (text, pattern) => [...text.matchAll(pattern)].map((match) => match[1]);

// Variables of our own: quoted in the sources of the programs, or read by a script.
function ownVariables(root) {
  const read = (path) => readFileSync(join(root, path), "utf8");
  const scripts = kScriptFolders.flatMap((folder) =>
    readdirSync(join(root, folder))
      .map((name) => `${folder}/${name}`)
      .filter((path) => path.endsWith(".sh") && statSync(join(root, path)).isFile()),
  );
  return [
    ...sourcesBelow(root).flatMap((path) =>
      matches(read(path), /"((?:QUILLARD|FARROWLIGHT)_[A-Z_]*[A-Z])"/g),
    ),
    ...[...kPrograms, ...scripts].flatMap((path) => matches(read(path), /\$\{(QUILLARD_[A-Z_]+)(?=[:}])/g)),
  ];
}

// Variables of the system that a program asks for by their names.
function systemVariables(root) {
  const asked =
    /\b(?:(?:value|variable|getenv|qgetenv|setting)\(|(?:absolutePath|baseFolder)\(environment, )"([A-Z][A-Z0-9_]+)"/g;
  const listed = /for \(const (?:char\* const|std::string_view) name : \{((?:"[A-Z_]+",? ?)+)\}/g;
  return sourcesBelow(root)
    .filter((path) => path.startsWith("src/"))
    .map((path) => readFileSync(join(root, path), "utf8"))
    .flatMap((text) => [
      ...matches(text, asked),
      ...matches(text, listed).flatMap((list) => matches(list, /"(\w+)"/g)),
    ]);
}

// What CMake is told with -D.
function buildOptions(root) {
  const files = ["CMakeLists.txt", "packaging/linux/Install.cmake", "packaging/macos/Bundle.cmake"];
  return files.flatMap((path) =>
    matches(
      readFileSync(join(root, path), "utf8"),
      /^ *(?:option\(|set\()(QUILLARD_\w+) (?=.*(?:CACHE| ON\)| OFF\)|\}\)))/gm,
    ),
  );
}

// The names of all variables and options, each once.
export const variablesOf = (root) =>
  new Set([...ownVariables(root), ...systemVariables(root), ...buildOptions(root)]);

// Those that the agent and its tools read, which its manual has to name.
export const agentVariablesOf = (root) =>
  new Set([
    ...sourcesBelow(root)
      .filter((path) => path.startsWith("src/"))
      .flatMap((path) =>
        matches(readFileSync(join(root, path), "utf8"), /"((?:QUILLARD|FARROWLIGHT)_[A-Z_]*[A-Z])"/g),
      ),
    ...systemVariables(root),
  ]);

// The agent's tunables: name in the environment to the name of the setting and the default, "on" or "off" for a
// switch, "none" for a file.
export function tunablesOf(root) {
  const source = readFileSync(join(root, "src/agent/configuration/Tunables.cpp"), "utf8");
  const tunables = new Map();
  for (const [row, setting] of source.matchAll(/\{\.name = "([a-z-]+)",[^}]*\{[^}]*\}\}/g)) {
    const number = row.match(/\.fallback = ([\d.]+)/)?.[1];
    const isSwitch = row.includes("TunableKind::onOff");
    const isFile = row.includes("TunableKind::file");
    const fallback = isFile ? "none" : isSwitch ? (number === "1" ? "on" : "off") : number;
    for (const variable of matches(row, /"([A-Z_]+)"/g)) tunables.set(variable, { setting, fallback });
  }
  return tunables;
}

// The names under which the agent keeps something in the user's settings, and those of the bundled file.
export function storedKeysOf(root) {
  const texts = sourcesBelow(root)
    .filter((path) => path.startsWith("src/"))
    .map((path) => readFileSync(join(root, path), "utf8"));
  const bundled = matches(texts.join("\n"), /for \(const auto\* key : \{"(\w+)", "\w+"\}/g);
  return new Set([
    ...texts.flatMap((text) => matches(text, /\b\w*[kK]ey = "(quillard\.[a-z0-9-]+)"/g)),
    ...bundled,
  ]);
}

// The relay's options with their defaults, as docs/relay.md writes them but not rounded: a number for limits, "burst, per
// second" for rates, and undefined where the page describes the default in words. Those that --help hides are for tests.
export function relayOptionsOf(root) {
  const source = readFileSync(join(root, "companion/relay/app/RelayCommandLine.cpp"), "utf8");
  const limits = readFileSync(join(root, "companion/relay/rules/RelayLimits.h"), "utf8");
  // Numbers, products and quotients of numbers, and nothing else.
  const number = (text) => {
    const plain = text
      .replace(/std::size_t\{(\d+)\}/g, "$1")
      .replaceAll("'", "")
      .replace("kMebibyte", "1048576");
    if (!/^[\d.\s*/]+$/.test(plain)) throw new Error(`not a plain number: ${text}`);
    return plain.split("*").reduce((product, factor) => {
      const [first, ...others] = factor.split("/").map(Number);
      return product * others.reduce((quotient, by) => quotient / by, first);
    }, 1);
  };
  const ownDefaults = new Map(
    [...source.matchAll(/^ {2}(?:long|std::size_t|int) (\w+) = (\d+);/gm)].map(([, name, value]) => [
      name,
      value,
    ]),
  );
  const limit = (field) => String(number(new RegExp(`std::size_t ${field} = ([^;]+);`).exec(limits)[1]));
  const rate = (field, unit) =>
    new RegExp(`Rate [^;]*?\\b${field}\\{([^}]+)\\}`)
      .exec(limits)[1]
      .split(",")
      .map((part) => String(number(part) / number(unit)))
      .join(", ");

  const options = new Map([["config", undefined]]);
  for (const [, name, field] of source.matchAll(/\badd\(program, "([a-z-]+)", \w+\.(\w+)/g))
    options.set(name, ownDefaults.get(field));
  for (const [, name] of source.matchAll(/add_flag\("--([a-z-]+)"(?![^;]*->group\(""\))/g))
    options.set(name, undefined);
  for (const [, name, inLimits, field] of source.matchAll(/\blimit\("([a-z-]+)", read\.(limits\.)?(\w+)/g)) {
    options.set(name, inLimits ? limit(field) : ownDefaults.get(field));
  }
  for (const [, burst, perSecond, field, unit] of source.matchAll(
    /\brate\("([a-z-]+)", "([a-z-]+)", limits\.(\w+), (\w+),/g,
  )) {
    options.set(burst, rate(field, unit)).set(perSecond, rate(field, unit));
  }
  return options;
}

// The rows of a page's tables, as lists of cells.
export const rowsOf = (page) =>
  page
    .split("\n")
    .filter((line) => /^\| /.test(line) && !/^\| ---/.test(line))
    .map((line) => line.replace(/^\| | \|$/g, "").split(" | "));

export const namesIn = (text, pattern) => matches(text, new RegExp(`\`(${pattern})[^\`]*\``, "g"));

// Whether a page's numbers are these, each rounded to as many digits as the page gives.
export const areRounded = (written, exact) =>
  written.split(", ").length === exact.split(", ").length &&
  written.split(", ").every((one, at) => {
    const digits = (one.split(".")[1] ?? "").length;
    const value = Number(exact.split(", ")[at]);
    return value.toFixed(digits) === one && (value === 0) === (Number(one) === 0);
  });
