import { join } from "node:path";

import { chromium, type BrowserContext } from "@playwright/test";

import { PhonePage } from "./PhonePage";
import { places } from "./places";
import type { Relay } from "./Relay";

function phoneEnvironment(): Record<string, string> {
  const { HOME = "", PATH = "", TMPDIR = "", LC_ALL = "" } = process.env;
  return { HOME, PATH, TMPDIR, LC_ALL };
}

/** A browser with a profile of its own, of a phone's size and under a finger. It can be closed and opened again. */
export class Browser {
  private context: BrowserContext | undefined;
  private opened: PhonePage | undefined;
  private readonly consoleLines: string[] = [];
  /** What the page has done wrong: exceptions, what its policy forbids, requests to anything but its own relay. */
  readonly mistakes: string[] = [];
  readonly profile: string;

  constructor(
    private readonly relay: Relay,
    name = "phone",
  ) {
    this.profile = join(places.temporary, `browser-${name}`);
  }

  async start(): Promise<void> {
    this.context = await chromium.launchPersistentContext(this.profile, {
      executablePath: places.chromium,
      // A phone is another machine: the computer's programs and buses are not for it.
      env: phoneEnvironment(),
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
    page.on("console", (message) => this.logged(message.text()));
    page.on("pageerror", (error) => this.mistakes.push(String(error)));
    this.context.on("request", (request) => this.requested(request.url()));
    this.opened = new PhonePage(page, this.context, this.relay);
  }

  async end(): Promise<void> {
    await this.context?.close();
  }

  async screenshot(path: string): Promise<void> {
    await this.phone.page.screenshot({ path, fullPage: true });
  }

  get phone(): PhonePage {
    if (this.opened === undefined) throw new Error("The browser was not started");
    return this.opened;
  }

  /** What the page and the browser have written to its console. */
  get output(): string {
    return this.consoleLines.join("\n");
  }

  private logged(text: string): void {
    this.consoleLines.push(text);
    if (/content.security.policy/i.test(text)) this.mistakes.push(text);
  }

  private requested(url: string): void {
    const isOurs = url.startsWith(`${this.relay.address}/`) || /^(blob|data):/.test(url);
    if (!isOurs) this.mistakes.push(`A request to ${url}`);
  }
}
