import { spawn } from "node:child_process";
import type { ChildProcess } from "node:child_process";
import { mkdirSync, writeFileSync } from "node:fs";
import { createServer } from "node:net";
import type { AddressInfo } from "node:net";
import { join } from "node:path";
import { createInterface } from "node:readline";
import type { Readable } from "node:stream";
import { fileURLToPath } from "node:url";
import { kWatch } from "./Engine";
import type { Engine, Point, Tab } from "./Engine";

const kElement = "element-6066-11e4-a52e-4f735466cecf";
const kKeys = { Enter: "\uE007", Space: " ", Tab: "\uE004" };

async function freePort(): Promise<number> {
  const server = createServer();
  await new Promise<void>((resolve) => server.listen(0, "127.0.0.1", resolve));
  const { port } = server.address() as AddressInfo;
  await new Promise((resolve) => server.close(resolve));
  return port;
}

/** The driver's commands, as the standard has them. */
class Driver {
  constructor(private readonly base: string) {}

  below(path: string): Driver {
    return new Driver(`${this.base}/${path}`);
  }

  async ask<Value>(method: "GET" | "POST" | "DELETE", path: string, body: object = {}): Promise<Value> {
    const answer = await fetch(`${this.base}${path}`, {
      method,
      ...(method === "POST" ? { body: JSON.stringify(body) } : {}),
    });
    const { value } = (await answer.json()) as { value: Value & { error?: string; message?: string } };
    if (!answer.ok) throw new Error(`${path}: ${value.error}: ${value.message}`);
    return value;
  }
}

class WebKitTab implements Tab {
  constructor(
    private readonly session: Driver,
    private readonly handle: string,
  ) {}

  async open(url: string): Promise<void> {
    await this.bringToFront();
    await this.session.ask("POST", "/url", { url });
  }

  async reload(): Promise<void> {
    await this.bringToFront();
    await this.session.ask("POST", "/refresh");
  }

  async run<Result>(body: string, ...args: readonly unknown[]): Promise<Result> {
    await this.bringToFront();
    const script = `const done = arguments[1];
      (async (args) => { ${body} })(arguments[0]).then((value) => done({ value }), (error) => done({ error: String(error) }));`;
    const { value, error } = await this.session.ask<{ value: Result; error?: string }>(
      "POST",
      "/execute/async",
      {
        script,
        args: [args],
      },
    );
    if (error) throw new Error(error);
    return value;
  }

  async press(at: Point): Promise<void> {
    await this.move(at, [
      { type: "pointerDown", button: 0 },
      { type: "pointerUp", button: 0 },
    ]);
  }

  async hold(at: Point, isEnough: () => Promise<unknown>): Promise<void> {
    await this.move(at, [{ type: "pointerDown", button: 0 }]);
    await isEnough();
    await this.session.ask("DELETE", "/actions");
  }

  async type(text: string): Promise<void> {
    await this.bringToFront();
    const focused = await this.session.ask<Record<string, string>>("GET", "/element/active");
    await this.session.ask("POST", `/element/${focused[kElement]}/value`, { text });
  }

  async key(name: "Enter" | "Space" | "Tab"): Promise<void> {
    await this.bringToFront();
    const value = kKeys[name];
    const actions = [
      { type: "keyDown", value },
      { type: "keyUp", value },
    ];
    await this.session.ask("POST", "/actions", { actions: [{ type: "key", id: "keyboard", actions }] });
  }

  async choose(path: string): Promise<void> {
    await this.bringToFront();
    const input = await this.session.ask<Record<string, string>>("POST", "/element", {
      using: "css selector",
      value: "input[type=file]",
    });
    await this.session.ask("POST", `/element/${input[kElement]}/value`, { text: path });
  }

  async resize(width: number, height: number): Promise<void> {
    await this.bringToFront();
    await this.session.ask("POST", "/window/rect", { width, height });
  }

  async bringToFront(): Promise<void> {
    await this.session.ask("POST", "/window", { handle: this.handle });
  }

  private async move({ x, y }: Point, then: readonly object[]): Promise<void> {
    await this.bringToFront();
    const actions = [{ type: "pointerMove", x: Math.round(x), y: Math.round(y), duration: 0 }, ...then];
    await this.session.ask("POST", "/actions", { actions: [{ type: "pointer", id: "mouse", actions }] });
  }
}

function ended(child: ChildProcess): Promise<unknown> {
  return child.exitCode !== null || child.signalCode !== null
    ? Promise.resolve()
    : new Promise((resolve) => child.once("exit", resolve));
}

async function startServer(): Promise<{ server: ChildProcess; display: string }> {
  const server = spawn("Xvfb", ["-displayfd", "3", "-screen", "0", "1280x1600x24", "-nolisten", "tcp"], {
    stdio: ["ignore", "ignore", "ignore", "pipe"],
  });
  const number = await new Promise<string>((resolve, reject) => {
    server.once("error", reject);
    server.once("exit", () => reject(new Error("Xvfb ended.")));
    createInterface(server.stdio[3] as Readable).once("line", resolve);
  });
  return { server, display: `:${number.trim()}` };
}

async function startDriver(display: string): Promise<{ driver: ChildProcess; commands: Driver }> {
  const port = await freePort();
  const driver = spawn("WebKitWebDriver", [`--port=${port}`, "--host=127.0.0.1"], {
    stdio: "ignore",
    env: { ...process.env, DISPLAY: display, GDK_BACKEND: "x11", LIBGL_ALWAYS_SOFTWARE: "1" },
  });
  const commands = new Driver(`http://127.0.0.1:${port}`);
  const isUp = () =>
    commands.ask("GET", "/status").then(
      () => true,
      () => false,
    );
  while (!(await isUp())) {
    if (driver.exitCode !== null) throw new Error(`WebKitWebDriver ended with ${driver.exitCode}.`);
    await new Promise((resolve) => setTimeout(resolve, 50));
  }
  return { driver, commands };
}

export const webkitEngine: Engine = {
  name: "WebKit",
  hasTouch: false,
  async launch(folder) {
    mkdirSync(folder, { recursive: true });
    const watch = join(folder, "watch.js");
    writeFileSync(watch, kWatch);
    const { server, display } = await startServer();
    const { driver, commands } = await startDriver(display);
    const stop = async () => {
      for (const child of [driver, server]) {
        child.kill();
        await ended(child);
      }
    };
    try {
      const binary = fileURLToPath(new URL("webkit-window.py", import.meta.url));
      const { sessionId } = await commands.ask<{ sessionId: string }>("POST", "/session", {
        capabilities: {
          alwaysMatch: {
            "webkitgtk:browserOptions": { binary, args: [join(folder, "data"), watch] },
            timeouts: { script: 60_000, pageLoad: 60_000, implicit: 0 },
          },
        },
      });
      const session = commands.below(`session/${sessionId}`);
      const begun = await session.ask<string[]>("GET", "/window/handles");
      return {
        newTab: async () => {
          const first = begun.shift();
          const handle =
            first ??
            (await session.ask<{ handle: string }>("POST", "/window/new", { type: "window" })).handle;
          return new WebKitTab(session, handle);
        },
        close: async () => {
          // The answer may be that the window has gone, as it was to.
          await session.ask("DELETE", "").catch(() => undefined);
          await stop();
        },
      };
    } catch (error) {
      await stop();
      throw error;
    }
  },
};
