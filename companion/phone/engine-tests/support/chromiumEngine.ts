import { chromium } from "@playwright/test";
import type { Page } from "@playwright/test";
import { kChromium } from "../../browser-tests/support/chromium";
import { asExpression, kViewport, kWatch } from "./Engine";
import type { Engine, Point, Tab } from "./Engine";

class ChromiumTab implements Tab {
  constructor(private readonly page: Page) {}

  async open(url: string): Promise<void> {
    await this.page.goto(url);
  }

  async reload(): Promise<void> {
    await this.page.reload();
  }

  async run<Result>(body: string, ...args: readonly unknown[]): Promise<Result> {
    return this.page.evaluate<Result>(asExpression(body, args));
  }

  async press({ x, y }: Point): Promise<void> {
    await this.page.touchscreen.tap(x, y);
  }

  async hold(at: Point, isEnough: () => Promise<unknown>): Promise<void> {
    const client = await this.page.context().newCDPSession(this.page);
    await client.send("Input.dispatchTouchEvent", { type: "touchStart", touchPoints: [at] });
    await isEnough();
    await client.send("Input.dispatchTouchEvent", { type: "touchEnd", touchPoints: [] });
    await client.detach();
  }

  async type(text: string): Promise<void> {
    await this.page.keyboard.insertText(text);
  }

  async key(name: "Enter" | "Space" | "Tab"): Promise<void> {
    await this.page.keyboard.press(name);
  }

  async choose(path: string): Promise<void> {
    await this.page.setInputFiles("input[type=file]", path);
  }

  async resize(width: number, height: number): Promise<void> {
    await this.page.setViewportSize({ width, height });
  }

  async bringToFront(): Promise<void> {
    await this.page.bringToFront();
  }
}

export const chromiumEngine: Engine = {
  name: "Chromium",
  hasTouch: true,
  async launch(folder) {
    const context = await chromium.launchPersistentContext(folder, {
      ...kChromium,
      viewport: kViewport,
      hasTouch: true,
      isMobile: true,
    });
    await context.addInitScript(kWatch);
    // The one that it begins with is taken first.
    const begun = context.pages();
    return {
      newTab: async () => new ChromiumTab(begun.shift() ?? (await context.newPage())),
      close: () => context.close(),
    };
  },
};
