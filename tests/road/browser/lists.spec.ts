import { closedWithoutAButton, killed, pressed } from "./Desktop";
import { expect, test } from "./road";

const atTheComputer = "Answered at the computer, or closed by itself";

test("lets a prompt go that closes by itself", async ({ desktop, phone }) => {
  const buttons = ["No", "Yes"];
  const dialog = await desktop.open({
    toolkit: "qt",
    title: "Fleeting",
    buttons,
    more: ["--close-after", "3"],
  });
  await phone.prompt("Fleeting");
  expect(await dialog.exitStatus).toBe(closedWithoutAButton);
  await phone.expectOutcome("Fleeting", atTheComputer);
});

test("lets the prompt of a program go that dies", async ({ desktop, phone }) => {
  const dialog = await desktop.open({ toolkit: "gtk4", title: "Frail", buttons: ["No", "Yes"] });
  await phone.prompt("Frail");
  expect(await dialog.kill()).toBe(killed);
  await phone.expectOutcome("Frail", atTheComputer);
});

test("tells what was answered at the computer from what was answered here", async ({ desktop, phone }) => {
  const dialog = await desktop.open({ toolkit: "gtk3", title: "At the desk", buttons: ["No", "Yes"] });
  await phone.prompt("At the desk");
  await desktop.pressInDialog(dialog, "Yes");
  expect(await dialog.exitStatus).toBe(pressed(1));
  await phone.expectOutcome("At the desk", atTheComputer);
});

test("presses the one of two identical prompts that was answered", async ({ desktop, phone }) => {
  const wishes = { toolkit: "gtk3", title: "Twins", buttons: ["No", "Yes"] } as const;
  const older = await desktop.open(wishes);
  await phone.prompt("Twins");
  const newer = await desktop.open(wishes);
  await expect(phone.prompts("Twins")).toHaveCount(2);
  // What comes later stands below.
  await (await phone.nthPrompt("Twins", 1)).hold("Yes");
  expect(await newer.exitStatus).toBe(pressed(1));
  await expect(phone.prompts("Twins")).toHaveCount(1);
  expect(older.isRunning).toBe(true);
  await (await phone.prompt("Twins")).tap("No");
  expect(await older.exitStatus).toBe(pressed(0));
});

test("shows nothing while the computer pauses, and everything when it goes on", async ({
  agent,
  desktop,
  phone,
}) => {
  const dialog = await desktop.open({ toolkit: "qt", title: "Patient", buttons: ["No", "Yes"] });
  await phone.prompt("Patient");
  await agent.pause();
  await phone.expectNothingWaits();
  expect(dialog.isRunning).toBe(true);
  await agent.resume();
  await (await phone.prompt("Patient")).hold("Yes");
  expect(await dialog.exitStatus).toBe(pressed(1));
});

test("mutes a kind of prompt until it is wanted again", async ({ desktop, phone }) => {
  const dialog = await desktop.open({ toolkit: "gtk4", title: "Noise", buttons: ["No", "Yes"] });
  await (await phone.prompt("Noise")).mute();
  await phone.expectNothingWaits();
  await phone.expectOutcome("Noise", "Not shown any more");
  const again = await desktop.open({ toolkit: "gtk4", title: "Noise", buttons: ["No", "Yes"] });
  const sign = await desktop.open({ toolkit: "gtk3", title: "Not noise", buttons: ["No", "Yes"] });
  await (await phone.prompt("Not noise")).tap("No");
  expect(await sign.exitStatus).toBe(pressed(0));
  await expect(phone.prompts("Noise")).toHaveCount(0);
  await phone.unmute("Noise", "Desk");
  await expect(phone.prompts("Noise")).toHaveCount(2);
  for (const one of [dialog, again]) {
    await (await phone.nthPrompt("Noise", 0)).tap("No");
    expect(await one.exitStatus).toBe(pressed(0));
  }
});
