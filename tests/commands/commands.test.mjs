// What ./test says of builds and tests that fail, on a machine where cmake and ctest are scripts of ours.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { chmodSync, cpSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";
import { test } from "node:test";

const project = resolve(dirname(fileURLToPath(import.meta.url)), "../..");

/** What ./test with these arguments ends with, where cmake and ctest do this. */
function outcomeOf({ cmake = "exit 0", ctest = "exit 0" }, ...args) {
  const folder = mkdtempSync(join(tmpdir(), "commands-"));
  try {
    const script = (name, text) => {
      writeFileSync(join(folder, "bin", name), `#!/bin/bash\n${text}\n`);
      chmodSync(join(folder, "bin", name), 0o755);
    };
    for (const each of ["bin", "scripts", "tests", "build/dev/Testing/Temporary"]) {
      mkdirSync(join(folder, each), { recursive: true });
    }
    for (const each of ["test", "scripts/setup.sh", "tests/planted-secrets.txt"]) {
      cpSync(join(project, each), join(folder, each));
    }
    script("dpkg-query", "echo install ok installed");
    script("npm", "exit 0");
    script("node", "echo 1,1,1");
    script("cmake", cmake);
    script("ctest", `echo "1/1 Testing: one" >build/dev/Testing/Temporary/LastTest.log; ${ctest}`);
    const { status, stdout, stderr } = spawnSync("bash", ["./test", ...args], {
      cwd: folder,
      env: { PATH: `${join(folder, "bin")}:/usr/bin:/bin`, HOME: folder },
      encoding: "utf8",
    });
    return { status, text: stdout + stderr };
  } finally {
    rmSync(folder, { recursive: true });
  }
}

const failingBuild = 'case "$1" in --build) echo "It does not compile."; exit 1 ;; esac';

test("passes when the build and the tests pass", () => {
  const { status, text } = outcomeOf({});
  assert.equal(status, 0, text);
});

test("fails when a test fails", () => {
  const { status, text } = outcomeOf({ ctest: "exit 8" });
  assert.equal(status, 8, text);
});

// The tests of what could not be built are left out of a run, so it would pass.
for (const args of [[], ["--all"], ["--preset", "gcc"], ["--filter", "Name"], ["--long", "dev"]]) {
  test(`fails, and runs no test, when the build fails: ./test ${args.join(" ")}`, () => {
    const { status, text } = outcomeOf({ cmake: failingBuild, ctest: 'echo "Ran."' }, ...args);
    assert.notEqual(status, 0, text);
    assert.match(text, /It does not compile\./);
    assert.doesNotMatch(text, /Ran\./);
  });
}

test("fails when a folder cannot be configured", () => {
  const { status, text } = outcomeOf({
    cmake: 'case "$1" in --preset) exit 1 ;; esac',
    ctest: 'echo "Ran."',
  });
  assert.notEqual(status, 0, text);
  assert.doesNotMatch(text, /Ran\./);
});
