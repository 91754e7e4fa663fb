// The phone's own lock before a grant, by Chromium's virtual authenticator.
import type { Page } from "@playwright/test";
import { sampleApproval } from "../src/core/testing";
import { FakeAgent } from "./support/FakeAgent";
import type { RelayProcess } from "./support/RelayProcess";
import { card, expect, hold, pairByText, test } from "./support/fixtures";

/** A key belongs to a name: an address in numbers can have none. */
function named(relay: RelayProcess): RelayProcess {
  return Object.create(relay, {
    url: { value: relay.url.replace("127.0.0.1", "localhost") },
  }) as RelayProcess;
}

/** Gives the page, as it is loaded now, an authenticator. `isRecognised`: whether it recognises the person. */
async function giveLock(page: Page, isRecognised: boolean): Promise<void> {
  const client = await page.context().newCDPSession(page);
  await client.send("WebAuthn.enable", { enableUI: false });
  await client.send("WebAuthn.addVirtualAuthenticator", {
    options: {
      protocol: "ctap2",
      transport: "internal",
      hasResidentKey: true,
      hasUserVerification: true,
      isUserVerified: isRecognised,
      automaticPresenceSimulation: true,
    },
  });
}

/** The page looks for a lock when it is loaded, and authenticators go with the page: so the one of these tests comes later. */
async function expectLock(page: Page): Promise<void> {
  await page.addInitScript(() => {
    PublicKeyCredential.isUserVerifyingPlatformAuthenticatorAvailable = () => Promise.resolve(true);
  });
}

const kWanted = { isPaused: false, grantsNeedVerification: true };

test.beforeEach(({ watch }) => {
  watch.expected.push(/request to localhost/);
});

test("a grant waits for the phone's lock where a person chose that", async ({ page, relay }) => {
  await expectLock(page);
  const computer = new FakeAgent(named(relay).url);
  await computer.connect();
  await computer.show([sampleApproval(1)]);
  await pairByText(page, named(relay), computer);
  await giveLock(page, true);
  await page.getByRole("link", { name: "This phone" }).tap();
  await page.getByRole("button", { name: "Ask before each grant" }).tap();
  await expect(page.getByText("Grants ask for this phone’s lock")).toBeVisible();
  await page.getByRole("link", { name: "Prompts" }).tap();
  const allow = card(page).getByRole("button", { name: /^Allow/ });
  await expect(allow).toContainText("hold, then unlock");
  await hold(page, allow, () => page.waitForTimeout(900));
  expect(await computer.request()).toMatchObject({ buttonLabel: "Allow", isUserVerified: true });
  await page.reload();
  await page.getByRole("link", { name: "This phone" }).tap();
  await expect(page.getByText("Grants ask for this phone’s lock")).toBeVisible();
  computer.disconnect();
});

test("nothing is granted where the phone's lock does not open", async ({ page, relay }) => {
  await expectLock(page);
  const computer = new FakeAgent(named(relay).url);
  await computer.connect();
  await computer.show([sampleApproval(1)], true, kWanted);
  await pairByText(page, named(relay), computer);
  await giveLock(page, false);
  const allow = card(page).getByRole("button", { name: /^Allow/ });
  await hold(page, allow, () => page.waitForTimeout(900));
  await expect(card(page).getByText("This phone’s lock was not opened. Nothing was sent.")).toBeVisible();
  expect(computer.hasMessages).toBe(false);
  await card(page).getByRole("button", { name: "Cancel" }).tap();
  expect(await computer.request()).toMatchObject({ buttonLabel: "Cancel", isUserVerified: false });
  computer.disconnect();
});

test("where the computer wants the lock and the phone has none, only dismissing is left", async ({
  page,
  relay,
  computer,
}) => {
  await computer.show([sampleApproval(1)], true, kWanted);
  await pairByText(page, relay, computer);
  await expect(page.getByText("Grants need this phone’s lock")).toBeVisible();
  await expect(card(page).getByRole("button", { name: /^Allow/ })).toBeDisabled();
  await card(page).getByRole("button", { name: "Cancel" }).tap();
  expect(await computer.request()).toMatchObject({ buttonLabel: "Cancel", isUserVerified: false });
});
