import { join } from "node:path";

import { places } from "./places";
import { Program } from "./Program";

/** The relay, which may go and come back: on the same port, with the same database. */
export class Relay {
  readonly database = join(places.temporary, "relay.sqlite");
  private readonly runs: Program[] = [];
  private port = 0;

  /** `options`: besides those that every test needs. */
  constructor(private readonly options: readonly string[] = []) {}

  async start(): Promise<void> {
    const run = new Program("the relay", places.relayProgram, [
      "--listen",
      `127.0.0.1:${String(this.port)}`,
      "--database",
      this.database,
      "--page",
      places.page,
      ...this.options,
    ]);
    this.runs.push(run);
    const [, port] = await run.waitForOutput(/^Listening on http:\/\/127\.0\.0\.1:(\d+)$/m);
    this.port = Number(port);
  }

  /** Without a warning, as when its machine loses power. */
  async kill(): Promise<void> {
    await this.newest.kill();
  }

  async end(): Promise<number> {
    return this.newest.end();
  }

  /** Where its page is. */
  get address(): string {
    return `http://127.0.0.1:${String(this.port)}`;
  }

  /** What the agent is configured with. */
  get webSocketAddress(): string {
    return `ws://127.0.0.1:${String(this.port)}/ws`;
  }

  /** Of all its runs. */
  get output(): string {
    return this.runs.map((run) => run.output).join("");
  }

  private get newest(): Program {
    const newest = this.runs.at(-1);
    if (newest === undefined) throw new Error("The relay was not started");
    return newest;
  }
}
