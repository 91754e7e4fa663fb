import { mkdirSync } from "node:fs";
import { join } from "node:path";
import { launch } from "puppeteer-core";
import type { ElementHandle, KeyInput, Page } from "puppeteer-core";
import { asExpression, kViewport, kWatch } from "./Engine";
import type { Engine, Point, Tab } from "./Engine";

const kKeys: Record<"Enter" | "Space" | "Tab", KeyInput> = {
  Enter: "Enter",
  Space: " " as KeyInput,
  Tab: "Tab",
};

export class FirefoxTab implements Tab {
  constructor(private readonly page: Page) {}

  async open(url: string): Promise<void> {
    await this.page.goto(url);
  }

  async reload(): Promise<void> {
    await this.page.reload();
  }

  async run<Result>(body: string, ...args: readonly unknown[]): Promise<Result> {
    return (await this.page.evaluate(asExpression(body, args))) as Result;
  }

  async press({ x, y }: Point): Promise<void> {
    await this.page.touchscreen.tap(x, y);
  }

  async hold({ x, y }: Point, isEnough: () => Promise<unknown>): Promise<void> {
    await this.page.touchscreen.touchStart(x, y);
    await isEnough();
    await this.page.touchscreen.touchEnd();
  }

  async type(text: string): Promise<void> {
    await this.page.keyboard.type(text);
  }

  async key(name: "Enter" | "Space" | "Tab"): Promise<void> {
    await this.page.keyboard.press(kKeys[name]);
  }

  async choose(path: string): Promise<void> {
    const input = (await this.page.$("input[type=file]")) as ElementHandle<HTMLInputElement> | null;
    if (!input) throw new Error("The page has no field for files.");
    await input.uploadFile(path);
  }

  async resize(width: number, height: number): Promise<void> {
    await this.page.setViewport({ width, height });
  }

  async bringToFront(): Promise<void> {
    await this.page.bringToFront();
  }
}

export const firefoxEngine: Engine = {
  name: "Firefox",
  hasTouch: true,
  async launch(folder) {
    const home = join(folder, "home");
    const userDataDir = join(folder, "profile");
    for (const needed of [home, userDataDir]) mkdirSync(needed, { recursive: true });
    const browser = await launch({
      browser: "firefox",
      protocol: "webDriverBiDi",
      executablePath: process.env["QUILLARD_FIREFOX"] ?? "/usr/bin/firefox-esr",
      headless: true,
      userDataDir,
      env: { ...process.env, HOME: home },
    });
    return {
      newTab: async () => {
        // Its first page never gets the keyboard's focus.
        const page = await browser.newPage();
        await page.setViewport(kViewport);
        await page.evaluateOnNewDocument(kWatch);
        await page.bringToFront();
        return new FirefoxTab(page);
      },
      close: () => browser.close(),
    };
  },
};
