import { writeFile } from "node:fs/promises";

import { expect, test as base, type TestInfo } from "@playwright/test";

import { Agent } from "./Agent";
import { Browser } from "./Browser";
import { Desktop } from "./Desktop";
import type { PhonePage } from "./PhonePage";
import { withoutSecrets } from "./Program";
import { Relay } from "./Relay";

/** The whole endToEnd: a desktop, the agent on it, the relay, and a browser as a phone, paired. */
export class EndToEnd {
  readonly desktop = new Desktop();
  readonly relay = new Relay();
  readonly agent = new Agent(this.desktop, this.relay);
  readonly browser = new Browser(this.relay);

  private begun: Promise<void> | undefined;
  private isUp = false;

  get phone(): PhonePage {
    return this.browser.phone;
  }

  /** What the newest code held that the phone paired with. */
  pairingText = "";

  /** Brings it up, unless it is. */
  begin(): Promise<void> {
    return (this.begun ??= this.bringUp());
  }

  private async bringUp(): Promise<void> {
    await this.relay.start();
    await this.agent.install();
    await this.agent.start();
    await this.agent.waitUntilUnpaired();
    await this.browser.start();
    await this.phone.open();
    await this.pair();
    this.isUp = true;
  }

  /** As a person does: by a picture of the computer's screen, with the agent's window on it. */
  async pair(): Promise<void> {
    this.pairingText = await this.agent.tool("pair", "--text", "--force");
    await this.phone.pairByPicture(await this.desktop.screenshot(), "Desk", "Ana’s phone");
    await this.agent.waitUntilPaired();
  }

  async end(): Promise<void> {
    await this.browser.end();
    if (!this.isUp) return;
    await this.desktop.closeAll();
    const agentsEnd = await this.agent.quit();
    // Only now it has said everything: a sanitizer may report what happened tests ago.
    if (agentsEnd !== 0) console.log(`What the agent printed:\n${withoutSecrets(this.agent.output)}`);
    expect(agentsEnd, "the agent quits politely").toBe(0);
    expect(await this.relay.end(), "the relay ends politely").toBe(0);
  }

  /** Prints and keeps what explains a failure. The pictures may show a code, of a pairing that goes with the desktop. */
  async report(info: TestInfo): Promise<void> {
    const agent = withoutSecrets(this.agent.output);
    const relay = withoutSecrets(this.relay.output);
    console.log(`The screens and the output of the programs: ${info.outputDir}`);
    console.log(`The last output of the agent:\n${agent.split("\n").slice(-40).join("\n")}`);
    console.log(`The relay:\n${relay}`);
    const file = (name: string) => info.outputPath(name);
    const steps = [
      writeFile(file("agent.txt"), agent),
      writeFile(file("relay.txt"), relay),
      this.desktop.screenshot().then((picture) => writeFile(file("desktop.png"), picture)),
      this.browser.screenshot(file("page.png")),
    ];
    for (const step of await Promise.allSettled(steps)) {
      if (step.status === "rejected") console.log(`Could not be kept: ${String(step.reason)}`);
    }
  }
}

interface WorkerFixtures {
  /** The same one for all tests, until one fails: the next one then gets a new one. */
  readonly sharedEndToEnd: EndToEnd;
}
interface TestFixtures {
  readonly endToEnd: EndToEnd;
  readonly desktop: Desktop;
  readonly agent: Agent;
  readonly relay: Relay;
  readonly phone: PhonePage;
}

export const test = base.extend<TestFixtures, WorkerFixtures>({
  sharedEndToEnd: [
    async ({}, use) => {
      const endToEnd = new EndToEnd();
      await use(endToEnd);
      await endToEnd.end();
    },
    { scope: "worker" },
  ],
  endToEnd: async ({ sharedEndToEnd }, use, info) => {
    try {
      await sharedEndToEnd.begin();
      await use(sharedEndToEnd);
      if (info.status !== info.expectedStatus) await sharedEndToEnd.report(info);
      expect(sharedEndToEnd.browser.mistakes).toEqual([]);
    } catch (error) {
      await sharedEndToEnd.report(info);
      throw error;
    } finally {
      await sharedEndToEnd.desktop.closeAll();
    }
  },
  desktop: ({ endToEnd }, use) => use(endToEnd.desktop),
  agent: ({ endToEnd }, use) => use(endToEnd.agent),
  relay: ({ endToEnd }, use) => use(endToEnd.relay),
  phone: ({ endToEnd }, use) => use(endToEnd.phone),
});
export { expect };
