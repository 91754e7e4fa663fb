// Firefox with a push service of our own, and a profile that outlives it.
import { mkdirSync } from "node:fs";
import { join } from "node:path";
import { launch, type Browser, type Page } from "puppeteer-core";
import { asExpression } from "../../engine-tests/support/Engine";

export class PushFirefox {
  private browser: Browser | undefined;

  constructor(
    private readonly folder: string,
    private readonly pushURL: string,
    private readonly bus: string,
    private readonly origin: string,
  ) {}

  async start(): Promise<void> {
    const home = join(this.folder, "home");
    const userDataDir = join(this.folder, "profile");
    for (const needed of [home, userDataDir]) mkdirSync(needed, { recursive: true });
    this.browser = await launch({
      browser: "firefox",
      protocol: "webDriverBiDi",
      executablePath: process.env["QUILLARD_FIREFOX"] ?? "/usr/bin/firefox-esr",
      headless: true,
      userDataDir,
      env: { ...process.env, HOME: home, DBUS_SESSION_BUS_ADDRESS: this.bus },
      extraPrefsFirefox: {
        "dom.push.serverURL": this.pushURL,
        "dom.push.testing.allowInsecureServerURL": true,
        "dom.push.connection.enabled": true,
        "dom.push.retryBaseInterval": 200,
        "dom.push.quotaUpdateDelay": 50,
      },
    });
    await this.browser.defaultBrowserContext().overridePermissions(this.origin, ["notifications"]);
  }

  async open(url: string): Promise<Page> {
    const page = await this.newPage();
    await page.goto(url);
    return page;
  }

  async newPage(): Promise<Page> {
    if (!this.browser) throw new Error("The browser was not started.");
    const page = await this.browser.newPage();
    await page.setViewport({ width: 390, height: 844 });
    await page.bringToFront();
    return page;
  }

  /** The addresses of what is open. */
  async addresses(): Promise<string[]> {
    return ((await this.browser?.pages()) ?? []).map((page) => page.url());
  }

  async end(): Promise<void> {
    await this.browser?.close();
    this.browser = undefined;
  }
}

/** `body`: of an async function with a parameter `args`. */
export async function run<Result>(page: Page, body: string, ...args: readonly unknown[]): Promise<Result> {
  return (await page.evaluate(asExpression(body, args))) as Result;
}
