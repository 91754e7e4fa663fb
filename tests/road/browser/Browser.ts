import { join } from "node:path";

import { chromium, type BrowserContext } from "@playwright/test";

import { PhonePage } from "./PhonePage";
import { places } from "./places";
import type { Relay } from "./Relay";

/** A browser with a profile of its own, of a phone's size and under a finger. It can be closed and opened again. */
export class Browser {
  private context: BrowserContext | undefined;
  private opened: PhonePage | undefined;
  private readonly said: string[] = [];

  constructor(
    private readonly relay: Relay,
    private readonly name = "phone",
  ) {}

  async start(): Promise<void> {
    this.context = await chromium.launchPersistentContext(join(places.temporary, `browser-${this.name}`), {
      executablePath: places.chromium,
      headless: true,
      args: [
        "--no-sandbox",
        "--disable-gpu",
        "--disable-quic",
        "--no-first-run",
        "--disable-background-networking",
        "--disable-component-update",
        "--disable-sync",
      ],
      viewport: { width: 390, height: 844 },
      deviceScaleFactor: 2,
      isMobile: true,
      hasTouch: true,
      locale: "en-GB",
    });
    const page = this.context.pages()[0] ?? (await this.context.newPage());
    page.on("console", (message) => this.said.push(`${message.type()}: ${message.text()}`));
    page.on("pageerror", (error) => this.said.push(`error: ${String(error)}`));
    this.opened = new PhonePage(page, this.context, this.relay);
  }

  async end(): Promise<void> {
    await this.context?.close();
  }

  get phone(): PhonePage {
    if (this.opened === undefined) throw new Error("The browser was not started");
    return this.opened;
  }

  /** What the page has written to its console, mistakes among it. */
  get output(): string {
    return this.said.join("\n");
  }
}
