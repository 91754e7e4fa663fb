// Runs clang-tidy over the sources of a build folder, but those that it found nothing in before and that have not
// changed since, with all that they include:
//
//   tidy.mjs BUILD_FOLDER [FOLDER...]    FOLDER: only the sources below it
import { execFile, execFileSync } from "node:child_process";
import { createHash } from "node:crypto";
import { existsSync, mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { cpus } from "node:os";
import { dirname, join, relative, resolve } from "node:path";

const project = process.cwd();
const [folder, ...wanted] = process.argv.slice(2);
if (folder === undefined) {
  console.error("Usage: tidy.mjs BUILD_FOLDER [FOLDER...]");
  process.exit(2);
}
const build = resolve(folder);
const memory = join(build, "Testing", "tidy", "clean.json");
mkdirSync(dirname(memory), { recursive: true });
const clean = existsSync(memory) ? JSON.parse(readFileSync(memory, "utf8")) : {};
const program = ["clang-tidy", "clang-tidy-14"].find((name) => {
  try {
    return execFileSync("sh", ["-c", `command -v ${name}`]).length > 0;
  } catch {
    return false;
  }
});
if (program === undefined) {
  console.error("There is no clang-tidy.");
  process.exit(1);
}

const digests = new Map();
function digestOf(path) {
  if (!digests.has(path)) {
    digests.set(path, createHash("sha256").update(readFileSync(path)).digest("hex"));
  }
  return digests.get(path);
}

/** The project's files that each object was made from, by the object's name in the build folder. */
function includedFiles() {
  const text = execFileSync("ninja", ["-C", build, "-t", "deps"], { encoding: "utf8", maxBuffer: 1 << 30 });
  const files = new Map();
  let current = [];
  for (const line of text.split("\n")) {
    if (line.startsWith("    ")) {
      const path = resolve(build, line.trim());
      if (path.startsWith(`${project}/`) && !path.startsWith(`${build}/`)) current.push(path);
    } else if (line.includes(": #deps")) {
      current = [];
      files.set(line.slice(0, line.indexOf(": #deps")), current);
    }
  }
  return files;
}

// Not asked for: how members could be packed more tightly, and leaks, since the analyser does not know that parents own
// their children in Qt; the sanitizers find those.
const unwanted = ["optin.performance.Padding", "cplusplus.NewDeleteLeaks"]
  .map((check) => `-clang-analyzer-${check}`)
  .join();
// The analyser follows every path through a function, and macros of tests have thousands that mean nothing. Their tables
// are as long as they are.
const unwantedInTests = "-clang-analyzer-*,-readability-function-size";
const isTest = (name) =>
  name.endsWith("Test.cpp") || ["tests/", "benchmarks/"].some((each) => name.startsWith(each));

// The sources of a folder are compiled together in the everyday build; each is looked at alone.
const togetherIn = /\/Unity\/unity_\d+_\w+\.cxx$/;

/** Each source with the command that compiles it, its folder, and the object that it became a part of. */
function* commands() {
  for (const entry of JSON.parse(readFileSync(join(build, "compile_commands.json"), "utf8"))) {
    const object = / -o (\S+)/.exec(entry.command)?.[1] ?? "";
    if (!togetherIn.test(entry.file)) {
      yield { ...entry, object };
      continue;
    }
    for (const [, file] of readFileSync(entry.file, "utf8").matchAll(/^#include "(.+)"$/gm)) {
      yield { ...entry, file, command: entry.command.replaceAll(entry.file, file), object };
    }
  }
}

// What those compiled together include is known of all of them at once.
const isHeader = (path) => !/\.(cpp|cxx|mm)$/.test(path);

function sources() {
  const included = includedFiles();
  const found = new Map();
  for (const { directory, file, command, object } of commands()) {
    const name = relative(project, file);
    if (name.startsWith("..") || name.startsWith("build/") || found.has(name)) continue;
    if (wanted.length > 0 && !wanted.some((each) => name.startsWith(each.replace(/\/?$/, "/")))) continue;
    const hash = createHash("sha256")
      .update(command)
      .update(digestOf(join(project, ".clang-tidy")));
    for (const path of [file, ...(included.get(object) ?? []).filter(isHeader)])
      if (existsSync(path)) hash.update(digestOf(path));
    found.set(name, { name, directory, file, command, key: hash.digest("hex") });
  }
  return [...found.values()];
}

function check({ name, file, key }) {
  const options = ["--quiet", "-p", dirname(memory), `--checks=${isTest(name) ? unwantedInTests : unwanted}`];
  return new Promise((done) => {
    execFile(program, [...options, file], { maxBuffer: 1 << 28 }, (error, output, errors) => {
      if (error === null) clean[name] = key;
      else console.log(`${name}:\n${output}${/\d+ warnings? .*generated/.test(errors) ? "" : errors}`);
      writeFileSync(memory, JSON.stringify(clean));
      done(error === null);
    });
  });
}

const all = sources();
writeFileSync(
  join(dirname(memory), "compile_commands.json"),
  JSON.stringify(all.map(({ directory, file, command }) => ({ directory, file, command }))),
);
const rest = all.filter(({ name, key }) => clean[name] !== key);
console.error(`clang-tidy: ${rest.length} of ${all.length} sources`);
let failures = 0;
const work = async () => {
  for (let next = rest.shift(); next !== undefined; next = rest.shift()) if (!(await check(next))) ++failures;
};
await Promise.all(cpus().map(work));
console.error(
  failures === 0 ? "clang-tidy found nothing." : `clang-tidy found something in ${failures} sources.`,
);
process.exit(failures === 0 ? 0 : 1);
