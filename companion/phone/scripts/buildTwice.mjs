// Builds the page and the terminal phone once more, in another folder, time zone and language, and compares the files with
// those that are there: node scripts/buildTwice.mjs
import { execFileSync } from "node:child_process";
import { cpSync, mkdirSync, mkdtempSync, readdirSync, rmSync, symlinkSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { fileURLToPath } from "node:url";
import { digests, textOf } from "./digests.mjs";

const here = fileURLToPath(new URL("..", import.meta.url));
const there = join(mkdtempSync(join(tmpdir(), "quillard-page-build-")), "elsewhere");
try {
  mkdirSync(there);
  for (const name of readdirSync(here)) {
    if (name === "node_modules") symlinkSync(join(here, name), join(there, name));
    else if (!/^(dist|test-results)$/.test(name))
      cpSync(join(here, name), join(there, name), { recursive: true });
  }
  const env = { ...process.env, TZ: "Asia/Kathmandu", LANG: "de_DE.UTF-8", LC_ALL: "C" };
  for (const config of ["vite.config.ts", "vite.worker.config.ts", "vite.terminal.config.ts"]) {
    const vite = join(there, "node_modules/vite/bin/vite.js");
    execFileSync(process.execPath, [vite, "build", "--logLevel", "warn", "--config", config], {
      cwd: there,
      env,
      stdio: "inherit",
    });
  }
  const [built, again] = [join(here, "dist"), join(there, "dist")].map((folder) => textOf(digests(folder)));
  if (built.split("\n").length < 9) throw new Error("There are fewer files than the page is made of.");
  if (built !== again) throw new Error(`Built twice, and not the same:\n${built}\n${again}`);
  process.stdout.write(built);
} finally {
  rmSync(join(there, ".."), { recursive: true, force: true });
}
