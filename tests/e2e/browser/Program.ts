import { spawn, type ChildProcess } from "node:child_process";
import { constants } from "node:os";

/** How long output may take on a busy machine. Only failures use it up. */
export const timeout = 60_000;

/** Programs do not print secrets; should one do so, the report of a failure does not repeat it. */
export function withoutSecrets(text: string): string {
  return text.replace(/[0-9a-f]{64}/g, "(a secret)");
}

/** A program on the desktop, as it runs: what it has written, and what it ended with. */
export class Program {
  private readonly child: ChildProcess;
  private written = "";
  private listeners: (() => void)[] = [];
  private status: number | undefined;
  /** Its exit code or, as a shell has it, 128 and the number of the signal that ended it. */
  readonly exitStatus: Promise<number>;
  /** Everything that it wrote has been read, too. */
  readonly isRead: Promise<void>;

  constructor(
    readonly name: string,
    path: string,
    args: readonly string[],
    variables: Readonly<Record<string, string>> = {},
  ) {
    this.child = spawn(path, args, {
      stdio: ["ignore", "pipe", "pipe"],
      env: { ...process.env, ...variables },
    });
    for (const stream of [this.child.stdout, this.child.stderr]) {
      stream?.setEncoding("utf8").on("data", (text: string) => this.take(text));
    }
    this.exitStatus = new Promise((resolve, reject) => {
      this.child.on("error", reject);
      this.child.on("exit", (code, signal) => {
        this.status = code ?? 128 + (signal === null ? 0 : constants.signals[signal]);
        this.notify();
        resolve(this.status);
      });
    });
    this.isRead = new Promise((resolve) => this.child.on("close", () => resolve()));
    // Whoever awaits it sees the failure; one that is not awaited may fail to start without ending the run.
    this.exitStatus.catch(() => undefined);
  }

  get pid(): number {
    if (this.child.pid === undefined) throw new Error(`${this.name} did not start`);
    return this.child.pid;
  }

  /** All that it has written to standard output and standard error. */
  get output(): string {
    return this.written;
  }

  get isRunning(): boolean {
    return this.status === undefined;
  }

  /** The match of `sign` in its output, as soon as it is there. */
  waitForOutput(sign: RegExp): Promise<RegExpExecArray> {
    return new Promise((resolve, reject) => {
      const giveUp = (why: string) => {
        this.listeners = this.listeners.filter((listener) => listener !== check);
        clearTimeout(timer);
        reject(
          new Error(
            `${this.name} ${why} before it printed ${String(sign)}. It printed:\n${withoutSecrets(this.output)}`,
          ),
        );
      };
      const check = () => {
        const match = sign.exec(this.written);
        if (match !== null) {
          this.listeners = this.listeners.filter((listener) => listener !== check);
          clearTimeout(timer);
          resolve(match);
        } else if (!this.isRunning) {
          giveUp(`ended (${String(this.status)})`);
        }
      };
      const timer = setTimeout(() => giveUp("took too long"), timeout);
      this.listeners.push(check);
      check();
    });
  }

  /** Politely. Waits until it has gone. */
  end(): Promise<number> {
    return this.signal("SIGTERM");
  }

  /** Without a warning. Waits until it has gone. */
  kill(): Promise<number> {
    return this.signal("SIGKILL");
  }

  /** It stands still until it is resumed: as hung programs and sleeping computers do. */
  stop(): void {
    this.child.kill("SIGSTOP");
  }

  resume(): void {
    this.child.kill("SIGCONT");
  }

  protected signal(name: NodeJS.Signals): Promise<number> {
    this.child.kill(name);
    return this.exitStatus;
  }

  private take(text: string): void {
    this.written += text;
    this.notify();
  }

  private notify(): void {
    for (const listener of [...this.listeners]) listener();
  }
}
