// The real relay, on a port of this machine itself, with a database of its own.
import { spawn } from "node:child_process";
import type { ChildProcess } from "node:child_process";
import { mkdirSync, mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { createInterface } from "node:readline";
import { fileURLToPath } from "node:url";

function program(): string {
  const named = process.env["QUILLARD_RELAY_PROGRAM"];
  if (!named) throw new Error("QUILLARD_RELAY_PROGRAM has to name the program quillard-relay.");
  return named;
}

/** The folder of the built page. */
export const kPage =
  process.env["QUILLARD_PAGE"] ?? fileURLToPath(new URL("../../dist/page", import.meta.url));

export class RelayProcess {
  private readonly folder = mkdtempSync(join(tmpdir(), "quillard-page-test-"));
  private process: ChildProcess | undefined;
  private port = 0;
  /** The folder that is served from the next start on. */
  page = kPage;
  /** Further options, from the next start on. */
  options: readonly string[] = [];
  /** Where the page is served besides, from the next start on. */
  pageOrigins: readonly string[] = [];

  /** `http://127.0.0.1:PORT`; the same one after a restart. */
  get url(): string {
    return `http://127.0.0.1:${this.port}`;
  }

  async start(): Promise<void> {
    const options = [
      "--listen",
      `127.0.0.1:${this.port}`,
      "--database",
      join(this.folder, "relay.db"),
      "--page",
      this.page,
      ...this.options,
      ...this.pageOrigins.flatMap((origin) => ["--page-origin", origin]),
    ];
    const child = spawn(program(), options, { stdio: ["ignore", "pipe", "ignore"] });
    this.process = child;
    const ready = new Promise<string>((resolve, reject) => {
      child.once("error", reject);
      child.once("exit", (code) => reject(new Error(`The relay ended with ${code}.`)));
      if (child.stdout) createInterface(child.stdout).once("line", resolve);
    });
    const line = await ready;
    child.removeAllListeners("exit");
    const port = /:(\d+)\s*$/.exec(line)?.[1];
    if (port === undefined) throw new Error("The relay did not print where it listens.");
    this.port = Number(port);
  }

  /** Immediately, without a close message. */
  async kill(): Promise<void> {
    const child = this.process;
    this.process = undefined;
    if (!child || child.exitCode !== null) return;
    const gone = new Promise((resolve) => child.once("exit", resolve));
    child.kill("SIGKILL");
    await gone;
  }

  /** All that it has stored. Not while it runs. */
  forget(): void {
    rmSync(this.folder, { recursive: true, force: true });
    mkdirSync(this.folder);
  }

  async dispose(): Promise<void> {
    await this.kill();
    rmSync(this.folder, { recursive: true, force: true });
  }
}
