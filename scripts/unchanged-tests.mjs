// Which tests need not run again: those that have passed with everything that they use as it is now.
//
//   unchanged-tests.mjs plan BUILD_FOLDER    prints the numbers of the tests to run, as ctest -I reads them from a file
//   unchanged-tests.mjs record BUILD_FOLDER  notes which tests have passed, from the results that ctest has written
//
// What a test uses: its own program, the programs of the build folder that it starts (it holds their paths), the files
// of the project that are not compiled into it, and the packages of the system. A test that is no program of ours, such
// as a script, uses all files of the project; one of the phone's page those of the page.
import { execFileSync } from "node:child_process";
import { createHash } from "node:crypto";
import { existsSync, readFileSync, statSync, writeFileSync } from "node:fs";
import { dirname, join, relative, resolve } from "node:path";

const compiled = /\.(cpp|h|mm|ts|tsx|css|md)$/;
const pageFolders = ["companion/phone/", "tests/e2e/browser/"];
const project = process.cwd();
const [verb, folder] = process.argv.slice(2);
if (!["plan", "record"].includes(verb) || folder === undefined) {
  console.error("Usage: unchanged-tests.mjs plan|record BUILD_FOLDER");
  process.exit(2);
}
const build = resolve(folder);
const inBuild = (name) => join(build, "Testing", name);
const memory = inBuild("passed.json");
const digest = (...parts) => {
  const hash = createHash("sha256");
  for (const part of parts) hash.update(typeof part === "string" ? `${part.length}:${part}` : part);
  return hash.digest("hex");
};
const textOf = (path) => (existsSync(path) ? readFileSync(path, "utf8") : "");

/** The project's files that `isWanted`, by name and content; those that git ignores are none. */
const projectFiles = execFileSync("git", ["ls-files", "-z", "--cached", "--others", "--exclude-standard"], {
  encoding: "utf8",
  maxBuffer: 1 << 28,
})
  .split("\0")
  .filter((name) => name !== "" && existsSync(name) && statSync(name).isFile())
  .map((name) => ({ name, content: digest(readFileSync(name)) }));
function digestOfFiles(isWanted) {
  return digest(
    ...projectFiles.filter(({ name }) => isWanted(name)).flatMap(({ name, content }) => [name, content]),
  );
}
const data = digestOfFiles((name) => !compiled.test(name));
const page = digestOfFiles((name) => pageFolders.some((each) => name.startsWith(each)));
const everything = digestOfFiles(() => true);
const system = existsSync("/var/lib/dpkg/status") ? String(statSync("/var/lib/dpkg/status").mtimeMs) : "";

/** The paths below the build folder that stand in these bytes. */
function pathsIn(bytes) {
  const paths = new Set();
  for (let at = bytes.indexOf(build); at >= 0; at = bytes.indexOf(build, at + 1)) {
    let end = at;
    while (end < bytes.length && bytes[end] > 0x20 && bytes[end] < 0x7f && bytes[end] !== 0x22) ++end;
    paths.add(bytes.toString("latin1", at, end));
  }
  return [...paths];
}

/** A program of the build folder: its content, and the paths of the build folder that it holds. */
const programsBefore = JSON.parse(textOf(inBuild("programs.json")) || "{}");
const programs = {};
function program(path) {
  if (programs[path] === undefined) {
    const { mtimeMs, size, ino } = statSync(path);
    const file = `${mtimeMs} ${size} ${ino}`;
    programs[path] = programsBefore[path];
    if (programs[path]?.file !== file) {
      const bytes = readFileSync(path);
      programs[path] = { file, content: digest(bytes), paths: pathsIn(bytes) };
    }
  }
  return programs[path];
}
const isProgram = (path) => {
  const status = statSync(path, { throwIfNoEntry: false });
  return status !== undefined && status.isFile() && (status.mode & 0o111) !== 0;
};
const testPrograms = new Set(
  textOf(join(build, "test-programs.txt"))
    .split("\n")
    .map((line) => line.split("\t")[0]),
);
/** Programs that tests start: all that the build links, but the test programs. */
const started = execFileSync("ninja", ["-C", build, "-t", "targets", "all"], {
  encoding: "utf8",
  maxBuffer: 1 << 28,
})
  .split("\n")
  .map((line) => /^(\S+): CXX_EXECUTABLE_LINKER/.exec(line)?.[1])
  .filter((name) => name !== undefined)
  .map((name) => join(build, name))
  .filter((path) => isProgram(path) && !testPrograms.has(path.split("/").at(-1)));

/** The programs that something starts which holds these paths: those in these folders. The build folder itself stands
 * in every program, as the place where it was compiled. */
function programsIn(paths) {
  const isIn = (path, named) => named.includes(dirname(path)) || dirname(path).startsWith(`${named}/`);
  const below = paths.map((named) => named.replace(/\/$/, "")).filter((named) => named !== build);
  return started.filter((path) => below.some((named) => isIn(path, named)));
}

/** Tests that may find programs by other ways than a path that they hold: through what was installed, or beside them. */
const ownWays = [
  "companion/relay",
  "demo",
  "src/app",
  "tests/contract",
  "tests/desktop",
  "tests/e2e",
  "tests/interop",
]
  .concat(["tests/macos", "tests/program", "tests/window"])
  .map((name) => join(build, name));
const keepsToItself = ["companion/relay/rules", "tests/contract/simulated_"].map((name) => join(build, name));
const hasOwnWays = (path) =>
  ownWays.some((name) => path.startsWith(name)) && !keepsToItself.some((name) => path.startsWith(name));

/** With what they start themselves. */
function withWhatTheyStart(paths) {
  const all = new Set();
  const rest = [...paths];
  while (rest.length > 0) {
    const path = rest.pop();
    if (all.has(path)) continue;
    all.add(path);
    rest.push(...programsIn(program(path).paths));
  }
  return [...all].sort();
}

const startedByProgram = new Map();
function usedPrograms(path) {
  if (!startedByProgram.has(path)) {
    startedByProgram.set(path, withWhatTheyStart(hasOwnWays(path) ? [path, ...started] : [path]));
  }
  return startedByProgram.get(path);
}

function sourcesOf(test, command) {
  if (command[0].startsWith(`${build}/`)) return data;
  const place = test.properties.find(({ name }) => name === "WORKING_DIRECTORY")?.value ?? "";
  return relative(project, place).startsWith("companion/phone") ? page : everything;
}

/** Changes with all that the test uses. */
function keyOf(test) {
  const command = test.command ?? [];
  if (command.length === 0) return undefined;
  const text = JSON.stringify([command, test.properties]);
  const named = isProgram(command[0]) && command[0].startsWith(`${build}/`) ? usedPrograms(command[0]) : [];
  const inText = withWhatTheyStart(programsIn(pathsIn(Buffer.from(text))));
  const page = command[0].endsWith("e2e_desktop")
    ? digestOfFiles((name) => pageFolders.some((f) => name.startsWith(f)))
    : "";
  const used = [...new Set([...named, ...inText])].sort();
  return digest(text, system, sourcesOf(test, command), page, ...used.map((path) => program(path).content));
}

// Not called after a run: it would write over that run's log.
function listedTests() {
  const listed = execFileSync("ctest", ["--test-dir", build, "--show-only=json-v1"], {
    encoding: "utf8",
    maxBuffer: 1 << 28,
  });
  return JSON.parse(listed).tests;
}

const passed = JSON.parse(textOf(memory) || "{}");

if (verb === "plan") {
  const tests = listedTests();
  const keys = Object.fromEntries(tests.map((test) => [test.name, keyOf(test)]));
  writeFileSync(inBuild("keys.json"), JSON.stringify(keys));
  writeFileSync(inBuild("programs.json"), JSON.stringify(programs));
  const toRun = tests
    .map((test, index) => ({ name: test.name, number: index + 1 }))
    .filter(({ name }) => keys[name] === undefined || passed[name] !== keys[name]);
  const left = tests.length - toRun.length;
  if (left > 0) console.error(`${left} of ${tests.length} tests need not run again (--all runs them).`);
  console.log(["0", "0", "0", ...toRun.map(({ number }) => String(number))].join(","));
} else {
  const keys = JSON.parse(textOf(inBuild("keys.json")) || "{}");
  const results = textOf(inBuild("results.xml"));
  for (const [, name, status] of results.matchAll(/<testcase name="([^"]*)"[^>]*? status="([a-z]+)"/g)) {
    const plain = name
      .replace(/&lt;/g, "<")
      .replace(/&gt;/g, ">")
      .replace(/&quot;/g, '"')
      .replace(/&amp;/g, "&");
    if (status === "run") passed[plain] = keys[plain];
    else delete passed[plain];
  }
  for (const name of Object.keys(passed)) if (!(name in keys)) delete passed[name];
  writeFileSync(memory, JSON.stringify(passed));
}
