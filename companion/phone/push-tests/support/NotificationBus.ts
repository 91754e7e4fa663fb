// A bus of its own with a screen for notifications, on which a person can press.
import { spawn } from "node:child_process";
import type { ChildProcess } from "node:child_process";
import { createInterface } from "node:readline";
import { fileURLToPath } from "node:url";
import { eventually } from "../../engine-tests/support/PhonePage";

export interface BusNotification {
  readonly id: number;
  readonly title: string;
  readonly body: string;
  /** Keys and labels, by turns. */
  readonly actions: readonly string[];
}

function firstLine(child: ChildProcess): Promise<string> {
  return new Promise((resolve, reject) => {
    child.once("error", reject);
    child.once("exit", (code) => reject(new Error(`${child.spawnfile} ended with ${String(code)}.`)));
    if (child.stdout) createInterface(child.stdout).once("line", resolve);
  });
}

export class NotificationBus {
  /** In the order in which they came; those that were closed, too. */
  readonly shown: BusNotification[] = [];
  private readonly closed = new Set<number>();

  private constructor(
    private readonly daemon: ChildProcess,
    private readonly screen: ChildProcess,
    readonly address: string,
  ) {}

  static async start(): Promise<NotificationBus> {
    const options = ["--session", "--nofork", "--print-address", "--address=unix:tmpdir=/tmp"];
    const daemon = spawn("dbus-daemon", options, { stdio: ["ignore", "pipe", "ignore"] });
    const address = await firstLine(daemon);
    const program = fileURLToPath(new URL("notifications.py", import.meta.url));
    const env = { ...process.env, DBUS_SESSION_BUS_ADDRESS: address };
    const screen = spawn("/usr/bin/python3", [program], { env, stdio: ["pipe", "pipe", "inherit"] });
    const bus = new NotificationBus(daemon, screen, address);
    await new Promise<void>((resolve, reject) => {
      screen.once("error", reject);
      screen.once("exit", (code) => reject(new Error(`The screen ended with ${String(code)}.`)));
      createInterface(screen.stdout).on("line", (line) => {
        const { event, ...rest } = JSON.parse(line);
        if (event === "ready") resolve();
        if (event === "shown") bus.shown.push(rest);
        if (event === "closed") bus.closed.add(rest.id);
      });
    });
    return bus;
  }

  /** Those that are on the screen, as title and body. */
  texts(): readonly string[] {
    const newest = new Map(this.shown.map((one) => [one.id, one]));
    return [...newest.values()]
      .filter(({ id }) => !this.closed.has(id))
      .map(({ title, body }) => `${title} | ${body}`);
  }

  /** The newest with that in its title or body, as soon as it is there. */
  see(text: string): Promise<BusNotification> {
    return eventually(`a notification that says ${text}; there are ${this.texts().join(", ")}`, () =>
      Promise.resolve(this.shown.findLast(({ title, body }) => `${title} ${body}`.includes(text))),
    );
  }

  /** A person presses the button of that label; absent: the notification itself. */
  press({ id, actions }: BusNotification, label?: string): void {
    const key = label === undefined ? "default" : actions[actions.indexOf(label) - 1];
    if (key === undefined)
      throw new Error(`There is no button ${String(label)} among ${actions.join(", ")}.`);
    this.screen.stdin?.write(`invoke ${id} ${key}\n`);
  }

  stop(): void {
    this.screen.kill();
    this.daemon.kill();
  }
}
