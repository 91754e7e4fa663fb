// Applies the mistakes of mutants.mjs one at a time, builds the few programs concerned, and runs their tests and the
// simulation: does the net catch each of them? Prints a line for each and the rate, and writes results.md.
//
//   node tests/mutation/run.mjs [--build FOLDER] [--simulation FOLDER] [--seeds FROM..TO] [--only WORD] [--jobs N]
//
// `--simulation`: the build folder of quillard-simulate, when it is another one, such as one that optimises.
// `--tests no`: the simulation alone; results.md stays as it is. `--only`: of results.md, these lines alone are made anew.
//
// The sources are put back after each mistake, also when the run is interrupted. Needs a clean work tree of src/.
import { execFileSync, spawnSync } from "node:child_process";
import { readFileSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

import { mutants } from "./mutants.mjs";

const folder = dirname(fileURLToPath(import.meta.url));
const project = join(folder, "../..");

function option(name, fallback) {
  const at = process.argv.indexOf(name);
  return at < 0 ? fallback : process.argv[at + 1];
}
const build = option("--build", "build/dev");
const simulationBuild = option("--simulation", build);
const withTests = option("--tests", "yes") === "yes";
const seeds = option("--seeds", "1..150");
const only = option("--only", "");
const jobs = option("--jobs", "2");

function run(command, args, minutes) {
  const done = spawnSync(command, args, {
    cwd: project,
    encoding: "utf8",
    timeout: minutes * 60_000,
    maxBuffer: 1 << 28,
  });
  return {
    isOk: done.status === 0,
    text: (done.stdout ?? "") + (done.stderr ?? ""),
    timedOut: done.error !== undefined,
  };
}

// The text must stand there once: a mistake that changes nothing, or two places, shows nothing.
function apply({ file, from, to }) {
  const path = join(project, file);
  const original = readFileSync(path, "utf8");
  if (original.split(from).length !== 2) throw new Error(`${file} does not hold exactly once: ${from}`);
  writeFileSync(
    path,
    original.replace(from, () => to),
  );
  return () => writeFileSync(path, original);
}

// The program of a folder below src/, run as a whole: a process for each test would take longer than the tests.
function failedTest({ folder, program }) {
  const built = run("ninja", ["-C", build, `-j${jobs}`, program], 30);
  if (!built.isOk) throw new Error(`What does not compile shows nothing:\n${built.text.slice(-2000)}`);
  const tested = run(join(build, folder, program), ["--gtest_brief=1", "--gtest_fail_fast"], 5);
  return tested.isOk
    ? undefined
    : (tested.text.match(/\[  FAILED  \] ([^\s,]+)/)?.[1] ?? "a test that did not end");
}

function failedSimulation({ asking }) {
  const built = run("ninja", ["-C", simulationBuild, `-j${jobs}`, "quillard_simulate"], 30);
  if (!built.isOk) throw new Error(`What does not compile shows nothing:\n${built.text.slice(-2000)}`);
  const simulated = run(join(simulationBuild, "simulation/quillard-simulate"), ["--seeds", seeds, ...(asking ? ["--asking"] : [])], 20);
  return simulated.isOk
    ? undefined
    : `the simulation (${simulated.text.match(/^Seed \d+/m)?.[0] ?? "it did not end"})`;
}

// What caught the mistake: a test, or else the simulation. Undefined: nothing did.
function catcher(mutant) {
  const tests = withTests ? mutant.tests : [];
  for (const test of tests) {
    const failed = failedTest(test);
    if (failed !== undefined) return failed;
  }
  return failedSimulation(mutant);
}

const changed = execFileSync("git", ["status", "--porcelain", "src"], { cwd: project, encoding: "utf8" });
if (changed !== "") throw new Error(`There are changes in src/ that are not committed:\n${changed}`);

let restore = () => {};
process.on("SIGINT", () => {
  restore();
  process.exit(130);
});

const lines = [];
let caught = 0;
const chosen = mutants.filter((mutant) => new RegExp(only).test(mutant.name));
for (const mutant of chosen) {
  restore = apply(mutant);
  let by;
  try {
    by = catcher(mutant);
  } finally {
    restore();
  }
  if (by !== undefined) ++caught;
  const line = `| ${mutant.name} | ${by === undefined ? `**survived**: ${mutant.why ?? "not explained yet"}` : `caught by ${by}`} |`;
  lines.push(line);
  console.log(line);
}
const rate = `${caught} of ${chosen.length} mistakes were caught (${Math.round((100 * caught) / chosen.length)} %).`;
console.log(rate);

// What was run now takes the place of what was known of it before.
function writeResults() {
  const path = join(folder, "results.md");
  const nameOf = (line) => line.match(/^\| (.+?) \| /)?.[1];
  const known = new Map([...readFileSync(path, "utf8").split("\n"), ...lines].map((line) => [nameOf(line), line]));
  const rows = mutants.map(({ name }) => known.get(name) ?? `| ${name} | **not run yet** |`);
  const all = rows.filter((row) => row.includes("| caught by ")).length;
  const sum = `${all} of ${rows.length} mistakes were caught (${Math.round((100 * all) / rows.length)} %).`;
  writeFileSync(
    path,
    `# Mistakes that were made on purpose\n\n${sum} Made by \`node tests/mutation/run.mjs\`.\n\n| mistake | outcome |\n| --- | --- |\n${rows.join("\n")}\n`,
  );
}
if (withTests) writeResults();
process.exit(caught * 10 >= chosen.length * 9 ? 0 : 1);
