// The phone's own lock before a grant, by Chromium's virtual authenticator.
import type { CDPSession, Page } from "@playwright/test";
import { sampleApproval, sampleButton } from "../src/core/testing";
import { FakeAgent } from "./support/FakeAgent";
import type { RelayProcess } from "./support/RelayProcess";
import { card, expect, hold, pairByText, test } from "./support/fixtures";

/** A key belongs to a name: an address in numbers can have none. */
function named(relay: RelayProcess): RelayProcess {
  return Object.create(relay, {
    url: { value: relay.url.replace("127.0.0.1", "localhost") },
  }) as RelayProcess;
}

interface Lock {
  recognises(isRecognised: boolean): Promise<void>;
}

async function lockOf(page: Page): Promise<Lock> {
  const client: CDPSession = await page.context().newCDPSession(page);
  await client.send("WebAuthn.enable", { enableUI: false });
  const { authenticatorId } = await client.send("WebAuthn.addVirtualAuthenticator", {
    options: {
      protocol: "ctap2",
      transport: "internal",
      hasResidentKey: true,
      hasUserVerification: true,
      isUserVerified: true,
      automaticPresenceSimulation: true,
    },
  });
  return {
    recognises: async (isUserVerified) => {
      await client.send("WebAuthn.setUserVerified", { authenticatorId, isUserVerified });
    },
  };
}

test.beforeEach(({ watch }) => {
  watch.expected.push(/request to localhost/);
});

test("a grant waits for the phone's lock where a person chose that", async ({ page, relay }) => {
  const lock = await lockOf(page);
  const computer = new FakeAgent(named(relay).url);
  await computer.connect();
  const buttons = [sampleButton("Cancel"), sampleButton("Allow")];
  await computer.show([sampleApproval(1, { buttons })]);
  await pairByText(page, named(relay), computer);
  await page.getByRole("link", { name: "This phone" }).tap();
  await page.getByRole("button", { name: "Ask before each grant" }).tap();
  await expect(page.getByText("Grants ask for this phone’s lock")).toBeVisible();

  await page.getByRole("link", { name: "Prompts" }).tap();
  const allow = card(page).getByRole("button", { name: /^Allow/ });
  await expect(allow).toContainText("hold, then unlock");
  await lock.recognises(false);
  const said = card(page).getByText("This phone’s lock was not opened. Nothing was sent.");
  await hold(page, allow, () => page.waitForTimeout(900));
  await expect(said).toBeVisible();
  expect(computer.hasMessages).toBe(false);

  await lock.recognises(true);
  await hold(page, allow, () => page.waitForTimeout(900));
  const request = await computer.request();
  expect(request).toMatchObject({ buttonLabel: "Allow", isUserVerified: true });
  await computer.answer(request, "accepted");

  await lock.recognises(false);
  await computer.show([sampleApproval(2, { windowTitle: "Open it?", buttons })]);
  await card(page, "Open it?").getByRole("button", { name: "Cancel" }).tap();
  expect(await computer.request()).toMatchObject({ buttonLabel: "Cancel", isUserVerified: false });

  // The choice is kept. The authenticator goes with the page, and the browser has none of its own.
  await page.reload();
  await expect(page.getByText("Grants need this phone’s lock")).toBeVisible();
  computer.disconnect();
});

test("where the computer wants the lock and the phone has none, only dismissing is left", async ({
  page,
  relay,
  computer,
}) => {
  await computer.show([sampleApproval(1)], true, { isPaused: false, grantsNeedVerification: true });
  await pairByText(page, relay, computer);
  await expect(page.getByText("Grants need this phone’s lock")).toBeVisible();
  await expect(card(page).getByRole("button", { name: /^Allow/ })).toBeDisabled();
  await card(page).getByRole("button", { name: "Cancel" }).tap();
  expect(await computer.request()).toMatchObject({ buttonLabel: "Cancel", isUserVerified: false });
});
