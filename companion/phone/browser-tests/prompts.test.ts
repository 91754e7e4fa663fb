import { sampleApproval, sampleButton, sampleID } from "../src/core/testing";
import { card, expect, hold, pairByText, test } from "./support/fixtures";

test("a dismissal is one tap, and its outcome is shown", async ({ page, relay, computer }) => {
  await computer.show([sampleApproval(1)]);
  await pairByText(page, relay, computer);
  await card(page).getByRole("button", { name: "Cancel" }).tap();
  const request = await computer.request();
  expect(request).toMatchObject({ approvalID: sampleID(1), buttonLabel: "Cancel" });
  await expect(card(page).getByRole("status")).toHaveText("“Cancel” is with Studio…");
  await computer.answer(request, "accepted");
  await computer.show([]);
  await expect(card(page).getByRole("status")).toHaveText("“Cancel” pressed from here");
  await expect(page.getByText("All is quiet")).toBeVisible();
  await expect(page.getByRole("heading", { name: "Nothing waits" })).toBeVisible();
});

test("a grant is a hold: taps do nothing, and say so", async ({ page, relay, computer }) => {
  await computer.show([sampleApproval(1)]);
  await pairByText(page, relay, computer);
  const allow = card(page).getByRole("button", { name: "Allow" });
  await allow.tap();
  await allow.tap();
  await expect(card(page).getByRole("status")).toHaveText(
    "Something is lost. Keep holding the button to confirm: Allow",
  );
  expect(computer.hasMessages).toBe(false);
  await hold(page, allow, () => expect(card(page).getByRole("status")).toContainText(/Sending|is with/));
  const request = await computer.request();
  expect(request.buttonLabel).toBe("Allow");
  await computer.answer(request, "accepted");
  await expect(card(page).getByRole("status")).toHaveText("“Allow” pressed, the prompt is gone.");
});

test("a keyboard grants by two activations", async ({ page, relay, computer }) => {
  await computer.show([sampleApproval(1)]);
  await pairByText(page, relay, computer);
  await card(page).getByRole("button", { name: "Allow" }).focus();
  await page.keyboard.press("Enter");
  await expect(card(page).getByRole("status")).toHaveText(
    "Something is lost. Hold, or activate again, to confirm: Allow",
  );
  expect(computer.hasMessages).toBe(false);
  await page.keyboard.press("Enter");
  expect((await computer.request()).buttonLabel).toBe("Allow");
});

test("a finger that scrolls over a granting button grants nothing", async ({ page, relay, computer }) => {
  await computer.show([
    sampleApproval(1),
    sampleApproval(2, { windowTitle: "Second" }),
    sampleApproval(3, { windowTitle: "Third" }),
  ]);
  await pairByText(page, relay, computer);
  const box = await card(page, "Second").getByRole("button", { name: "Allow" }).boundingBox();
  if (!box) throw new Error("There is no button.");
  const client = await page.context().newCDPSession(page);
  const at = (moved: number) => ({
    touchPoints: [{ x: box.x + box.width / 2, y: box.y + box.height / 2 - moved }],
  });
  await client.send("Input.dispatchTouchEvent", { type: "touchStart", ...at(0) });
  for (let moved = 10; moved <= 200; moved += 10)
    await client.send("Input.dispatchTouchEvent", { type: "touchMove", ...at(moved) });
  await expect.poll(() => page.evaluate(() => window.scrollY)).toBeGreaterThan(20);
  // Longer than a hold takes, in the page's own time.
  await page.evaluate(() => new Promise((resolve) => setTimeout(resolve, 900)));
  await client.send("Input.dispatchTouchEvent", { type: "touchEnd", touchPoints: [] });
  // What was asked earlier would arrive earlier.
  await card(page, "Third").getByRole("button", { name: "Cancel" }).tap();
  expect(await computer.request()).toMatchObject({ approvalID: sampleID(3), buttonLabel: "Cancel" });
});

test("a failure brings the computer's reason, and the prompt can be decided again", async ({
  page,
  relay,
  computer,
}) => {
  await computer.show([sampleApproval(1)]);
  await pairByText(page, relay, computer);
  await card(page).getByRole("button", { name: "Cancel" }).tap();
  await computer.answer(await computer.request(), "failed", "The button did not react.");
  await expect(card(page).getByRole("status")).toHaveText("“Cancel” did not work. The button did not react.");
  await card(page).getByRole("button", { name: "Cancel" }).tap();
  expect((await computer.request()).buttonLabel).toBe("Cancel");
});

test("labels go back byte for byte, and what is hidden in them is shown", async ({
  page,
  relay,
  computer,
}) => {
  const buttons = ["Don't Allow", "Don’t Allow", "All\u200bow\u202e", "Ａllow"].map(sampleButton);
  await computer.show([sampleApproval(1, { buttons, windowTitle: "Run \u202egpj.exe?" })]);
  await pairByText(page, relay, computer);
  const prompt = card(page, "Run ⟨U+202E⟩gpj.exe?");
  const named = await prompt.getByRole("group", { name: "Buttons" }).locator("bdi").allTextContents();
  expect(named).toEqual(["Don't Allow", "Don’t Allow", "All⟨U+200B⟩ow⟨U+202E⟩", "Ａllow"]);
  const odd = prompt.getByRole("button", { name: "All⟨U+200B⟩ow⟨U+202E⟩" });
  await hold(page, odd, () => expect(prompt.getByRole("status")).toContainText(/Sending|is with/));
  expect((await computer.request()).buttonLabel).toBe("All\u200bow\u202e");
});

test("a prompt that requires direct access says why, and can only be dismissed", async ({
  page,
  relay,
  computer,
}) => {
  const asks = { requiresDirectAccess: true, directAccessReason: "It asks for a password." };
  await computer.show([sampleApproval(1, asks)]);
  await pairByText(page, relay, computer);
  await expect(card(page).getByText("It asks for a password.")).toBeVisible();
  await expect(card(page).getByRole("group", { name: "Buttons" }).getByRole("button")).toHaveText(["Cancel"]);
  await card(page).getByRole("button", { name: "Cancel" }).tap();
  expect((await computer.request()).buttonLabel).toBe("Cancel");
});

test("new prompts come in below, and one that is gone keeps its place for some seconds", async ({
  page,
  relay,
  computer,
}) => {
  const one = sampleApproval(1, { windowTitle: "One" });
  const two = sampleApproval(2, { windowTitle: "Two" });
  await computer.show([two]);
  await pairByText(page, relay, computer);
  await expect(card(page, "Two")).toBeVisible();
  await computer.show([one, two]);
  await expect(page.getByRole("article").getByRole("heading")).toHaveText(["Two", "One"]);
  await computer.show([one]);
  await expect(card(page, "Two").getByRole("status")).toHaveText(
    "Answered at the computer, or closed by itself",
  );
  await expect(page.getByRole("article").getByRole("heading")).toHaveText(["Two", "One"]);
  await expect(page.getByRole("article").getByRole("heading")).toHaveText(["One"]);
});

test("a kind of prompt is muted, listed, and shown again", async ({ page, relay, computer }) => {
  await computer.show([sampleApproval(1)]);
  await pairByText(page, relay, computer);
  await card(page).getByRole("button", { name: "Don’t show this again" }).tap();
  expect(await computer.nextMessage()).toMatchObject({
    type: "approval.suppress",
    command: { action: "suppress", approvalID: sampleID(1), suppressionID: sampleID(1001) },
  });
  await computer.show([]);
  await page.getByRole("link", { name: /^Studio/ }).tap();
  await page.getByRole("link", { name: /Not shown any more/ }).tap();
  await expect(page.getByText("Erase disk?")).toBeVisible();
  await page.getByRole("button", { name: "Show again: Erase disk?" }).tap();
  expect(await computer.nextMessage()).toMatchObject({
    type: "approval.unsuppress",
    command: { action: "unsuppress", suppressionID: sampleID(1001) },
  });
  await expect(page.getByText("Every prompt of Studio is shown.")).toBeVisible();
});

test("a prompt with eight buttons and forty lines stays usable on a narrow phone", async ({
  page,
  relay,
  computer,
}) => {
  await page.setViewportSize({ width: 320, height: 568 });
  const messageLines = Array.from({ length: 40 }, (_, index) => `Line ${index + 1} ${"word".repeat(30)}`);
  const labels = [
    "Cancel",
    "Replace everything that is older than what comes",
    "B",
    "C",
    "D",
    "E",
    "F",
    "W".repeat(60),
  ];
  await computer.show([sampleApproval(1, { messageLines, buttons: labels.map(sampleButton) })]);
  await pairByText(page, relay, computer);
  await card(page)
    .getByRole("button", { name: /Show \d+ more lines/ })
    .tap();
  await expect(card(page).getByText(/^Line 40 /)).toBeVisible();
  const overflow = await page.evaluate(() =>
    [...document.querySelectorAll("body *")]
      .filter(
        (element) =>
          element.scrollWidth > element.clientWidth + 1 && getComputedStyle(element).overflowX === "hidden",
      )
      .map((element) => element.className),
  );
  expect(overflow.filter((name) => name !== "for-ear")).toEqual([]);
  expect(await page.evaluate(() => document.documentElement.scrollWidth)).toBeLessThanOrEqual(320);
  await card(page).getByRole("button", { name: "Cancel" }).tap();
  expect((await computer.request()).buttonLabel).toBe("Cancel");
});
