// What each test begins with: a relay, a fake computer with a pairing of its own that is connected to it, and a page that
// is watched. The tests of one worker share a relay, except those that stop it or change what it serves: `ownRelay`.
import { expect, test as base } from "@playwright/test";
import type { Locator, Page } from "@playwright/test";
import { say } from "../../src/language/say";
import { FakeAgent } from "./FakeAgent";
import { RelayProcess } from "./RelayProcess";

/** What the page did that it must not do. */
export interface Watch {
  readonly problems: string[];
  /** A problem that the test itself causes, such as a relay that is gone. */
  readonly expected: RegExp[];
}

interface WorkerFixtures {
  readonly sharedRelay: RelayProcess;
}

interface TestFixtures {
  /** Option: the test gets a relay that no other test uses. */
  readonly ownRelay: boolean;
  readonly relay: RelayProcess;
  readonly computer: FakeAgent;
  readonly watch: Watch;
}

function watchPage(page: Page, relay: RelayProcess, problems: string[]): void {
  const origin = () => new URL(relay.url).host;
  const mind = (url: string) => {
    const { protocol, host } = new URL(url);
    if (protocol !== "blob:" && protocol !== "data:" && host !== origin())
      problems.push(`request to ${host}`);
  };
  page.on("request", (request) => mind(request.url()));
  page.on("websocket", (socket) => mind(socket.url()));
  page.on("pageerror", (error) => problems.push(`exception: ${error.message}`));
  page.on("console", (message) => {
    if (message.type() === "error" || message.type() === "warning")
      problems.push(`console: ${message.text()}`);
  });
}

async function withRelay(use: (relay: RelayProcess) => Promise<void>): Promise<void> {
  const relay = new RelayProcess();
  try {
    await relay.start();
    await use(relay);
  } finally {
    await relay.dispose();
  }
}

export const test = base.extend<TestFixtures, WorkerFixtures>({
  sharedRelay: [async ({}, use) => withRelay(use), { scope: "worker" }],
  ownRelay: [false, { option: true }],
  relay: async ({ ownRelay, sharedRelay }, use) => {
    if (ownRelay) await withRelay(use);
    else await use(sharedRelay);
  },
  computer: async ({ relay }, use) => {
    const computer = new FakeAgent(relay.url);
    await computer.connect();
    await use(computer);
    computer.disconnect();
  },
  watch: async ({ context, relay }, use) => {
    const watch: Watch = { problems: [], expected: [] };
    // Said by the browser itself, of whatever the policy of the relay stopped.
    await context.addInitScript(() => {
      document.addEventListener("securitypolicyviolation", (event) =>
        console.error(`policy: ${event.violatedDirective} ${event.blockedURI}`),
      );
    });
    context.on("page", (page) => watchPage(page, relay, watch.problems));
    await use(watch);
    const left = watch.problems.filter((problem) => !watch.expected.some((pattern) => pattern.test(problem)));
    expect(left).toEqual([]);
  },
  page: async ({ watch, page }, use) => {
    void watch;
    await use(page);
  },
});

/** What the browser itself logs about a relay that is gone or refuses. */
export const kRelayIsGone = /WebSocket connection to|Failed to load resource|ERR_CONNECTION_REFUSED/;

export async function pairByText(
  page: Page,
  relay: RelayProcess,
  computer: FakeAgent,
  name = "Studio",
): Promise<void> {
  await page.goto(relay.url);
  await page.getByRole("button", { name: say("Paste the code’s text") }).tap();
  await page.getByLabel(say("The code’s text")).fill(computer.pairingText);
  await page.getByRole("button", { name: say("Continue") }).tap();
  await agree(page, name);
}

export async function agree(page: Page, name: string): Promise<void> {
  await page.getByLabel(say("Name of the computer")).fill(name);
  await page.getByRole("button", { name: say("Pair"), exact: true }).tap();
  await expect(page.getByRole("heading", { name, exact: true })).toBeVisible();
}

/** Holds a finger on the middle of `button` until `isEnough` is fulfilled. */
export async function hold(page: Page, button: Locator, isEnough: () => Promise<unknown>): Promise<void> {
  await button.scrollIntoViewIfNeeded();
  const box = await button.boundingBox();
  if (!box) throw new Error("There is no button to hold.");
  const client = await page.context().newCDPSession(page);
  const touchPoints = [{ x: box.x + box.width / 2, y: box.y + box.height / 2 }];
  await client.send("Input.dispatchTouchEvent", { type: "touchStart", touchPoints });
  await isEnough();
  await client.send("Input.dispatchTouchEvent", { type: "touchEnd", touchPoints: [] });
  await client.detach();
}

export function card(page: Page, title = "Erase disk?"): Locator {
  return page.getByRole("article", { name: title });
}

export { expect } from "@playwright/test";
