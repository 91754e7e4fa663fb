import { copyFile, mkdir } from "node:fs/promises";
import { join } from "node:path";

import type { Desktop } from "./Desktop";
import { places } from "./places";
import { Program } from "./Program";
import type { Relay } from "./Relay";

const rows = { pairing: "Phone Pairing", alerts: "Phone Alerts" } as const;

/** The agent, installed for the desktop's user as it is for any user, and its window. */
export class Agent {
  private readonly folder = join(places.home, ".local/lib/Quillard.app");
  private readonly runs: Program[] = [];

  constructor(
    private readonly desktop: Desktop,
    private readonly relay: Relay,
  ) {}

  async install(): Promise<void> {
    await mkdir(this.folder, { recursive: true });
    await copyFile(places.agentProgram, this.program);
    await copyFile(places.agentInformation, join(this.folder, "Info.plist"));
  }

  /** As a user starts it: one that runs already makes way, and the window is shown, with the code or, where a phone has
   * it, without. */
  async start(code: "Pairing QR code" | "Pairing code covered" = "Pairing QR code"): Promise<void> {
    this.runs.push(
      new Program("the agent", this.program, [], {
        QUILLARD_RELAY_URL: this.relay.webSocketAddress,
        QUILLARD_PAIRING_ID: "e2e",
        QUILLARD_DIALOG_DIAGNOSTICS: "1", // What each scan saw, for those who look for the reason of a failure.
      }),
    );
    await this.desktop.see(this.process, rows.pairing, code);
  }

  /** The newest one. */
  get process(): Program {
    const newest = this.runs.at(-1);
    if (newest === undefined) throw new Error("The agent was not started");
    return newest;
  }

  /** Of all its runs. */
  get output(): string {
    return this.runs.map((run) => run.output).join("");
  }

  /** One of its tools, as it runs. */
  startTool(...args: readonly string[]): Program {
    return new Program("the agent's tool", this.program, args, {
      QUILLARD_RELAY_URL: this.relay.webSocketAddress,
      QUILLARD_PAIRING_ID: "e2e",
    });
  }

  /** Runs one of its tools to the end, and gives what that has printed. */
  async tool(...args: readonly string[]): Promise<string> {
    const run = this.startTool(...args);
    await run.isRead;
    return run.output;
  }

  async quit(): Promise<number> {
    return this.process.end();
  }

  waitUntilPaired(): Promise<void> {
    return this.desktop.see(this.process, rows.pairing, "Phone paired");
  }

  waitUntilUnpaired(): Promise<void> {
    return this.desktop.see(this.process, rows.pairing, "Ready to scan");
  }

  /** Waits until its window says of the phone that it can receive alerts. */
  waitForPhoneNamed(name: string): Promise<void> {
    return this.desktop.see(this.process, rows.pairing, `${name} receives the prompts of this computer.`);
  }

  async unpair(): Promise<void> {
    await this.desktop.press(this.process, rows.pairing, "Unpair Phone");
    await this.waitUntilUnpaired();
  }

  /** Shows a code for one more phone. */
  async pairAnother(): Promise<void> {
    await this.desktop.press(this.process, rows.pairing, "Pair Another Phone");
    await this.desktop.see(this.process, rows.pairing, "Pairing QR code");
  }

  async pause(): Promise<void> {
    await this.desktop.press(this.process, rows.alerts, "Pause 2h");
    await this.desktop.see(this.process, rows.alerts, "Alerts will resume automatically.");
  }

  async resume(): Promise<void> {
    await this.desktop.press(this.process, rows.alerts, "Resume");
    await this.desktop.see(this.process, rows.alerts, "Pause while you answer prompts here.");
  }

  private get program(): string {
    return join(this.folder, "quillard");
  }
}
