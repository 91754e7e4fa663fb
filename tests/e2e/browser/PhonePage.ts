import { expect, type BrowserContext, type CDPSession, type Locator, type Page } from "@playwright/test";

import type { Relay } from "./Relay";

// A press that the page takes shows immediately. Longer than any hold and any pause that the page makes on purpose.
const kTaken = 2000;

/** One prompt on the page. */
export class PromptCard {
  constructor(
    readonly element: Locator,
    private readonly phone: PhonePage,
  ) {}

  /** The buttons with which it can be answered. */
  get choices(): Locator {
    return this.element.getByRole("group", { name: "Buttons" }).getByRole("button");
  }

  button(label: string): Locator {
    return this.element.getByRole("button", { name: label, exact: true });
  }

  /** A single tap, which is enough for what grants nothing. */
  async tap(label: string): Promise<void> {
    await this.untilTaken(label, () => this.button(label).tap({ timeout: kTaken }));
  }

  /** A finger that stays on the button until the page has taken the press. */
  async hold(label: string): Promise<void> {
    await this.untilTaken(label, () =>
      this.phone.holdFingerOn(this.button(label), () => this.expectTaken(label)),
    );
  }

  /** Waits until the page does not show it any more. */
  async leaves(): Promise<void> {
    await expect(this.element).toHaveCount(0);
  }

  async mute(): Promise<void> {
    await this.element.getByRole("button", { name: "Don’t show this again" }).tap();
  }

  // The page ignores fingers that come down while prompts change their places. A person tries again, and so do we.
  private async untilTaken(label: string, press: () => Promise<void>): Promise<void> {
    await expect(this.button(label)).toBeEnabled();
    await expect(async () => {
      // Once a press is taken there is no button any more.
      if (await this.button(label).isVisible()) await press();
      await this.expectTaken(label);
    }).toPass();
  }

  private async expectTaken(label: string): Promise<void> {
    await expect(this.element.getByRole("status")).toContainText(`“${label}”`, { timeout: kTaken });
  }
}

/** The page as a person with a phone has it: found by what it says and by what its buttons are called. */
export class PhonePage {
  private touching: CDPSession | undefined;
  private marks = 0;

  constructor(
    readonly page: Page,
    private readonly context: BrowserContext,
    private readonly relay: Relay,
  ) {}

  async open(): Promise<void> {
    await this.page.goto(this.relay.address);
  }

  async reload(): Promise<void> {
    await this.page.reload();
  }

  /** The prompts with that title that can be answered. */
  prompts(title: string): Locator {
    const answerable = this.page.getByRole("group", { name: "Buttons" });
    return this.page.getByRole("article", { name: title, exact: true }).filter({ has: answerable });
  }

  /** Waits for the one prompt with that title. */
  async prompt(title: string): Promise<PromptCard> {
    await expect(this.prompts(title)).toHaveCount(1);
    return this.nthPrompt(title, 0);
  }

  /** `index`: from 0, from the top. It stays the same one while others come and go, and when it has been answered. */
  async nthPrompt(title: string, index: number): Promise<PromptCard> {
    const mark = `${title} ${String(++this.marks)}`;
    await this.prompts(title)
      .nth(index)
      .evaluate((element, mark) => element.setAttribute("data-e2e", mark), mark);
    return new PromptCard(this.page.locator(`[data-e2e="${mark}"]`), this);
  }

  /** Touches the middle of `target`, and lets go when `isDone` has seen what it waits for. */
  async holdFingerOn(target: Locator, isDone: () => Promise<void>): Promise<void> {
    await target.scrollIntoViewIfNeeded();
    const box = await target.boundingBox();
    if (box === null) throw new Error("There is nothing to hold");
    this.touching ??= await this.context.newCDPSession(this.page);
    const touchPoints = [{ x: box.x + box.width / 2, y: box.y + box.height / 2 }];
    await this.touching.send("Input.dispatchTouchEvent", { type: "touchStart", touchPoints });
    try {
      await isDone();
    } finally {
      await this.touching.send("Input.dispatchTouchEvent", { type: "touchEnd", touchPoints: [] });
    }
  }

  /** Reads the code from a picture, as a person who has sent the computer's screen to the phone. */
  async pairByPicture(picture: Buffer, computerName: string, phoneName: string): Promise<void> {
    const file = { name: "screen.png", mimeType: "image/png", buffer: picture };
    await this.page.getByLabel("Picture of the code").setInputFiles(file);
    await this.page.getByLabel("Name of the computer").fill(computerName);
    await this.page.getByLabel("What it calls this phone").fill(phoneName);
    await this.page.getByRole("button", { name: "Pair", exact: true }).tap();
    await this.expectConnected(computerName);
  }

  async forget(computerName: string): Promise<void> {
    await this.openComputer(computerName);
    await this.page.getByRole("button", { name: "Forget this computer" }).tap();
    const question = this.page.getByRole("group", { name: `Forget ${computerName}?` });
    await question.getByRole("button", { name: "Forget", exact: true }).tap();
    await expect(this.page.getByRole("heading", { name: "Answer your computer from here" })).toBeVisible();
  }

  /** Takes the title from the list of what is not shown any more. */
  async unmute(title: string, computerName: string): Promise<void> {
    await this.openComputer(computerName);
    await this.page.getByRole("link", { name: "Not shown any more" }).tap();
    await this.page.getByRole("button", { name: `Show again: ${title}`, exact: true }).tap();
    await expect(this.page.getByText(`Every prompt of ${computerName} is shown.`)).toBeVisible();
    await this.page.getByRole("link", { name: computerName }).tap();
    await this.page.getByRole("link", { name: "Prompts" }).tap();
  }

  async expectConnected(computerName: string): Promise<void> {
    await expect(this.computer(computerName)).toContainText("Connected, heard");
  }

  /** Among the newest outcomes. */
  async expectOutcome(title: string, words: string): Promise<void> {
    const row = this.page.getByRole("listitem").filter({ hasText: title }).filter({ hasText: words });
    await expect(row).toHaveCount(1);
  }

  async expectNothingWaits(): Promise<void> {
    await expect(this.page.getByRole("heading", { name: "Nothing waits", exact: true })).toBeVisible();
  }

  /** The page says so, and does not take what it no longer sees for answered. */
  async expectPaused(): Promise<void> {
    await expect(this.page.getByRole("heading", { name: "Paused", exact: true })).toBeVisible();
    await this.expectNotice("Paused at the computer");
    await expect(this.page.getByText(/^Answered at the computer/)).toHaveCount(0);
  }

  async expectNotice(title: string): Promise<void> {
    await expect(this.page.getByRole("status").filter({ hasText: title })).toBeVisible();
  }

  private async openComputer(name: string): Promise<void> {
    await this.computer(name).tap();
  }

  private computer(name: string): Locator {
    return this.page.getByRole("region", { name, exact: true }).getByRole("link").first();
  }
}
