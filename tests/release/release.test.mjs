// scripts/release.sh makes the same bytes twice, and refuses what must not be released. Each test has a small project of
// its own, with a build folder that installs one file. node --test tests/release
import assert from "node:assert/strict";
import { execFileSync, spawnSync } from "node:child_process";
import {
  appendFileSync,
  chmodSync,
  copyFileSync,
  existsSync,
  mkdirSync,
  mkdtempSync,
  readFileSync,
  rmSync,
  writeFileSync,
} from "node:fs";
import { tmpdir } from "node:os";
import { dirname, join } from "node:path";
import { after, test } from "node:test";
import { fileURLToPath } from "node:url";

const script = join(dirname(fileURLToPath(import.meta.url)), "../../scripts/release.sh");
const skip = process.platform === "linux" ? false : "release.sh needs GNU tar, so it is run on Linux";
const folders = [];
after(() => folders.forEach((folder) => rmSync(folder, { recursive: true })));

function write(path, text) {
  mkdirSync(dirname(path), { recursive: true });
  writeFileSync(path, text);
}

class Project {
  constructor() {
    this.folder = mkdtempSync(join(tmpdir(), "release-test-"));
    folders.push(this.folder);
    this.root = join(this.folder, "project");
    write(join(this.root, "CMakeLists.txt"), "project(Quillard VERSION 1.2.3 LANGUAGES CXX)\n");
    write(
      join(this.root, "CHANGELOG.md"),
      "# Changelog\n\n## Unreleased\n\n- Later.\n\n## 1.2.3 (2026-03-01)\n\n- New.\n\n## 1.2.2\n\n- Old.\n",
    );
    write(join(this.root, "scripts/release.sh"), "");
    copyFileSync(script, join(this.root, "scripts/release.sh"));
    chmodSync(join(this.root, "scripts/release.sh"), 0o755);
    this.git("init", "--quiet");
    this.commit();
  }

  git(...options) {
    const identity = [
      "-c",
      "user.name=Test",
      "-c",
      "user.email=test@example.invalid",
      "-c",
      "commit.gpgsign=false",
    ];
    return execFileSync("git", [...identity, ...options], { cwd: this.root, encoding: "utf8" });
  }

  commit() {
    this.git("add", "--all");
    this.git("commit", "--quiet", "--message", "A change");
  }

  // A build folder that has made the relay with the phones' page.
  build(version = "1.2.3", pageFile = "index.html") {
    const build = join(this.folder, "build");
    const program = join(build, "companion/relay/quillard-relay");
    write(program, "#!/bin/sh\n");
    chmodSync(program, 0o755);
    write(join(build, "CMakeCache.txt"), `CMAKE_PROJECT_VERSION:STATIC=${version}\n`);
    write(join(build, pageFile), "<!doctype html>");
    write(
      join(build, "cmake_install.cmake"),
      `file(INSTALL DESTINATION /usr/local/bin TYPE PROGRAM FILES "${program}")\n` +
        `file(INSTALL DESTINATION /usr/local/share/quillard-relay/page TYPE FILE FILES "${join(build, pageFile)}")\n`,
    );
    return build;
  }

  out(name) {
    return join(this.folder, name);
  }

  release(...options) {
    return spawnSync(join(this.root, "scripts/release.sh"), options, { encoding: "utf8" });
  }
}

const outputOf = (command, ...options) => execFileSync(command, options, { encoding: "utf8" });

test("the same commit and build give the same bytes, whatever umask and time", { skip }, () => {
  const project = new Project();
  const build = project.build();
  assert.equal(project.release(project.out("one"), build).status, 0);
  const second = spawnSync("sh", [
    "-c",
    `umask 077; sleep 1.1; "$0" "$@"`,
    join(project.root, "scripts/release.sh"),
    project.out("two"),
    build,
  ]);
  assert.equal(second.status, 0, String(second.stderr));
  const digests = (name) => readFileSync(join(project.out(name), "SHA256SUMS"), "utf8");
  assert.equal(digests("one"), digests("two"));
  assert.equal(digests("one").trim().split("\n").length, 3);
  execFileSync("sha256sum", ["--check", "--quiet", "SHA256SUMS"], { cwd: project.out("one") });
});

test("an archive holds the commit, or what is installed, and nobody's name", { skip }, () => {
  const project = new Project();
  write(join(project.root, ".gitignore"), "secret.txt\n");
  for (const name of ["f", "b", "e", "a", "d", "c"]) write(join(project.root, "many", name), name);
  project.commit();
  write(join(project.root, "secret.txt"), "not for others\n");
  assert.equal(project.release(project.out("out"), project.build()).status, 0);
  const sources = outputOf("tar", "-tzvf", join(project.out("out"), "quillard-1.2.3.tar.gz"));
  assert.match(sources, /^-rwxr-xr-x 0\/0 .* quillard-1\.2\.3\/scripts\/release\.sh$/m);
  assert.match(sources, /^-rw-r--r-- 0\/0 .* quillard-1\.2\.3\/CHANGELOG\.md$/m);
  assert.doesNotMatch(sources, /secret/);
  assert.equal([...sources.matchAll(/\/many\/(.)$/gm)].map(([, name]) => name).join(""), "abcdef");
  const name = `quillard-relay-1.2.3-linux-${outputOf("uname", "-m").trim()}`;
  const installed = outputOf("tar", "-tzvf", join(project.out("out"), `${name}.tar.gz`));
  assert.ok(installed.includes(`${name}/usr/local/bin/quillard-relay`), installed);
});

test("the notes are the part of the changelog about this version", { skip }, () => {
  const project = new Project();
  assert.equal(project.release(project.out("out")).status, 0);
  const notes = readFileSync(join(project.out("out"), "RELEASE-NOTES.md"), "utf8");
  assert.match(notes, /^# Quillard 1\.2\.3\n\n- New\.\n\nMade from the commit [0-9a-f]{40}\.\n$/);
  assert.equal(project.release("--draft", project.out("draft")).status, 0);
  assert.match(
    readFileSync(join(project.out("draft"), "RELEASE-NOTES.md"), "utf8"),
    /^# Quillard 1\.2\.3-draft\n\n- Later\.\n/,
  );
});

// Each: what is done to the project before, and what the script says then.
const refusals = {
  "changes that are not committed": [
    (project) => appendFileSync(join(project.root, "CHANGELOG.md"), "more\n"),
    "not committed",
  ],
  "a version that the changelog does not know": [
    (project) => {
      write(join(project.root, "CMakeLists.txt"), "project(Quillard VERSION 9.9.9 LANGUAGES CXX)\n");
      project.commit();
    },
    "CHANGELOG.md has no part",
  ],
  "a tag of this version at another commit": [
    (project) => {
      project.git("tag", "v1.2.3");
      write(join(project.root, "later.txt"), "later\n");
      project.commit();
    },
    "is at another commit",
  ],
  "a folder that exists": [(project) => mkdirSync(project.out("out")), "exists already"],
  "a build of another version": [(project) => [project.build("1.2.2")], "was configured for version 1.2.2"],
  "a build of nothing": [
    (project) => {
      const build = project.build();
      rmSync(join(build, "companion"), { recursive: true });
      return [build];
    },
    "has built neither",
  ],
  "a relay without the phones' page": [(project) => [project.build("1.2.3", "other.html")], "installs no"],
  "a folder that is no build": [(project) => [project.root], "is no build folder"],
};

for (const [what, [prepare, says]] of Object.entries(refusals)) {
  test(`it refuses ${what}, and leaves nothing`, { skip }, () => {
    const project = new Project();
    const existed = what === "a folder that exists";
    const { status, stderr } = project.release(
      ...[project.out("out"), ...(prepare(project) ?? [])].filter((one) => typeof one === "string"),
    );
    assert.equal(status, 1, stderr);
    assert.ok(stderr.includes(says), stderr);
    assert.equal(existsSync(project.out("out")), existed);
  });
}
