import type { Browser, Page } from "@playwright/test";
import { sampleApproval } from "../src/core/testing";
import { FakeAgent } from "./support/FakeAgent";
import { slowStorage } from "./support/slowStorage";
import { agree, card, expect, kRelayIsGone, pairByText, test } from "./support/fixtures";

async function secondPhone(browser: Browser): Promise<Page> {
  const context = await browser.newContext({
    viewport: { width: 390, height: 844 },
    isMobile: true,
    hasTouch: true,
  });
  return context.newPage();
}

test("what another phone decided is shown here", async ({ page, browser, relay, computer }) => {
  await computer.show([sampleApproval(1)]);
  await pairByText(page, relay, computer);
  const other = await secondPhone(browser);
  await other.goto(relay.url);
  await other.getByRole("button", { name: "Paste the code’s text" }).tap();
  await other.getByLabel("The code’s text").fill(computer.pairingText);
  await other.getByRole("button", { name: "Continue" }).tap();
  await other.getByLabel("What it calls this phone").fill("Ben’s phone");
  await agree(other, "Studio");
  await card(other).getByRole("button", { name: "Cancel" }).tap();
  await computer.answer(await computer.request(), "accepted");
  await computer.show([]);
  await expect(page.getByText("“Cancel” pressed: chosen on Ben’s phone").first()).toBeVisible();
  await other.context().close();
});

test("a reload keeps the pairing and the history", async ({ page, relay, computer }) => {
  await computer.show([sampleApproval(1)]);
  await pairByText(page, relay, computer);
  await card(page).getByRole("button", { name: "Cancel" }).tap();
  await computer.answer(await computer.request(), "accepted");
  await computer.show([]);
  await expect(card(page).getByRole("status")).toHaveText("“Cancel” pressed from here");
  await page.reload();
  await expect(page.getByRole("heading", { name: "Studio", exact: true })).toBeVisible();
  await expect(page.getByText("“Cancel” pressed from here")).toBeVisible();
  await computer.show([sampleApproval(2, { windowTitle: "After the reload" })]);
  await expect(card(page, "After the reload")).toBeVisible();
});

test("a computer that went away is shown, with when it was last heard of", async ({
  page,
  relay,
  computer,
}) => {
  await computer.show([sampleApproval(1)]);
  await pairByText(page, relay, computer);
  await expect(page.getByText(/^Connected/)).toBeVisible();
  computer.disconnect();
  await expect(page.getByText("Studio is not connected")).toBeVisible();
  await expect(page.getByText(/^Last heard of /)).toBeVisible();
  await expect(card(page).getByRole("button", { name: "Cancel" })).toBeDisabled();
  await computer.connect();
  await computer.show([sampleApproval(1)]);
  await expect(card(page).getByRole("button", { name: "Cancel" })).toBeEnabled();
  await expect(page.getByText("Studio is not connected")).toBeHidden();
});

test.describe("with a relay of its own", () => {
  test.use({ ownRelay: true });

  test("a relay that is restarted is shown, waited for, and used again", async ({
    page,
    relay,
    computer,
    watch,
  }) => {
    watch.expected.push(kRelayIsGone);
    await computer.show([sampleApproval(1)]);
    await pairByText(page, relay, computer);
    await expect(card(page).getByRole("button", { name: "Cancel" })).toBeEnabled();
    await relay.kill();
    await expect(page.getByText("The relay cannot be reached")).toBeVisible();
    await expect(page.getByText(/^Next try in \d+ s\.$|^Trying again…$/)).toBeVisible();
    await expect(card(page).getByRole("button", { name: "Cancel" })).toBeDisabled();
    await relay.start();
    await computer.connect();
    await computer.show([sampleApproval(1)]);
    await page
      .getByRole("button", { name: "Try now" })
      .tap({ timeout: 3000 })
      .catch(() => undefined);
    // What was aimed while the page moved is not taken.
    await expect(async () => {
      await card(page).getByRole("button", { name: "Cancel" }).tap({ timeout: 1000 });
      await expect(card(page).getByRole("status")).toContainText(/Sending|is with/, { timeout: 1000 });
    }).toPass();
    expect((await computer.request()).buttonLabel).toBe("Cancel");
  });
});

test("a phone without a network says so, and goes on by itself", async ({
  page,
  context,
  relay,
  computer,
  watch,
}) => {
  watch.expected.push(kRelayIsGone, /ERR_INTERNET_DISCONNECTED/);
  await pairByText(page, relay, computer);
  await context.setOffline(true);
  await expect(page.getByText("This phone is offline")).toBeVisible();
  await context.setOffline(false);
  await expect(page.getByText(/^Connected/)).toBeVisible();
});

test("only one tab has the connection, and it can be taken back", async ({
  page,
  context,
  relay,
  computer,
}) => {
  await pairByText(page, relay, computer);
  const second = await context.newPage();
  await second.goto(relay.url);
  await expect(second.getByText(/^Connected/)).toBeVisible();
  await expect(page.getByText("Quillard is open in another tab")).toBeVisible();
  await page.getByRole("button", { name: "Use it here" }).tap();
  await expect(page.getByText(/^Connected/)).toBeVisible();
  await expect(second.getByText("Quillard is open in another tab")).toBeVisible();
});

test("a pairing that the computer took back is shown, and can be forgotten", async ({
  page,
  relay,
  computer,
  watch,
}) => {
  watch.expected.push(kRelayIsGone);
  await pairByText(page, relay, computer);
  await expect(page.getByText(/^Connected/)).toBeVisible();
  computer.unpair();
  await expect(page.getByText("Studio unpaired its phones")).toBeVisible();
  await page.getByRole("button", { name: "Forget…" }).tap();
  await page.getByRole("button", { name: "Forget this computer" }).tap();
  await page.getByRole("button", { name: "Forget", exact: true }).tap();
  await expect(page.getByRole("heading", { name: "Answer your computer from here" })).toBeVisible();
  await page.reload();
  await expect(page.getByRole("heading", { name: "Answer your computer from here" })).toBeVisible();
});

test("a computer that may not read its windows is shown, and so is a list that cannot be read", async ({
  page,
  relay,
  computer,
}) => {
  await pairByText(page, relay, computer);
  await computer.show([], false);
  await expect(page.getByText("Studio cannot see its windows")).toBeVisible();
  await computer.showSealedOtherwise();
  await expect(page.getByText("A list came that cannot be read")).toBeVisible();
  await computer.show([]);
  await expect(page.getByText("A list came that cannot be read")).toBeHidden();
  await expect(page.getByText("Studio cannot see its windows")).toBeHidden();
});

test("several computers stand side by side", async ({ page, relay, computer }) => {
  const laptop = new FakeAgent(relay.url);
  await laptop.connect();
  await laptop.show([sampleApproval(2, { windowTitle: "On the laptop" })]);
  await computer.show([sampleApproval(1, { windowTitle: "In the studio" })]);
  await pairByText(page, relay, computer);
  await page.getByRole("link", { name: "Pair another computer" }).tap();
  await page.getByRole("button", { name: "Paste the code’s text" }).tap();
  await page.getByLabel("The code’s text").fill(laptop.pairingText);
  await page.getByRole("button", { name: "Continue" }).tap();
  await agree(page, "Laptop");
  await expect(page.getByRole("heading", { name: "2 prompts wait" })).toBeVisible();
  await page.getByRole("region", { name: "Laptop" }).getByRole("button", { name: "Cancel" }).tap();
  expect((await laptop.request()).buttonLabel).toBe("Cancel");
  expect(computer.hasMessages).toBe(false);
  laptop.disconnect();
});

test("names are changed once they are stored, of the computer and of this phone", async ({
  page,
  relay,
  computer,
}) => {
  const storage = await slowStorage(page);
  await pairByText(page, relay, computer);
  const save = page.getByRole("button", { name: "Save", exact: true });
  const saving = page.getByRole("button", { name: "Saving…" });

  await page.getByRole("link", { name: /^Studio/ }).tap();
  await storage.hold();
  await page.getByLabel("Name").fill("Attic");
  await save.tap();
  await expect(saving).toBeVisible();
  await expect(page.getByRole("heading", { name: "Studio" })).toBeVisible();
  await storage.release();
  await expect(saving).toBeHidden();
  await page.reload();
  await expect(page.getByRole("heading", { name: "Attic" })).toBeVisible();

  await page.getByRole("link", { name: "Prompts" }).tap();
  await page.getByRole("link", { name: "This phone" }).tap();
  const name = page.getByLabel("What the computers call it");
  const before = await name.inputValue();
  await storage.hold();
  await name.fill("Ann’s phone");
  await save.tap();
  await expect(saving).toBeVisible();
  // Left before it is stored: the page has not called it saved, and it is not.
  await page.reload();
  await expect(name).toHaveValue(before);
  await name.fill("Ann’s phone");
  await save.tap();
  await expect(save.or(saving)).toBeHidden();
  await page.reload();
  await expect(name).toHaveValue("Ann’s phone");
});

test("a name that cannot be stored is not changed, and the page says why", async ({
  page,
  relay,
  computer,
}) => {
  const storage = await slowStorage(page);
  await pairByText(page, relay, computer);
  await page.getByRole("link", { name: /^Studio/ }).tap();
  await storage.fail();
  await page.getByLabel("Name").fill("Attic");
  await page.getByRole("button", { name: "Save" }).tap();
  await expect(page.getByRole("alert")).toContainText("This browser could not keep this");
  await expect(page.getByRole("heading", { name: "Studio" })).toBeVisible();
  await page.reload();
  await expect(page.getByRole("heading", { name: "Studio" })).toBeVisible();
});
