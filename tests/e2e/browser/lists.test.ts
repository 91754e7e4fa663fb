import { closedWithoutAButton, killed, pressed } from "./Desktop";
import { expect, test } from "./endToEnd";

const atTheComputer = "Answered at the computer, or closed by itself";

test("lets prompts go that are answered at the computer, or close by themselves", async ({
  desktop,
  phone,
}) => {
  const buttons = ["No", "Yes"];
  const fleeting = await desktop.open({ toolkit: "qt", title: "Fleeting", buttons });
  const atTheDesk = await desktop.open({ toolkit: "gtk3", title: "At the desk", buttons });
  await phone.prompt("Fleeting");
  await phone.prompt("At the desk");
  await desktop.pressInDialog(atTheDesk, "Yes");
  expect(await atTheDesk.exitStatus).toBe(pressed(1));
  expect(await fleeting.closeByItself()).toBe(closedWithoutAButton);
  await phone.expectOutcome("At the desk", atTheComputer);
  await phone.expectOutcome("Fleeting", atTheComputer);
});

test("says that nothing was pressed when the prompt was gone already", async ({ desktop, phone }) => {
  const dialog = await desktop.open({ toolkit: "gtk4", title: "Frail", buttons: ["No", "Yes"] });
  const prompt = await phone.prompt("Frail");
  expect(await dialog.kill()).toBe(killed);
  await prompt.tap("No");
  await phone.expectOutcome("Frail", "“No”: the prompt was gone already");
});

test("presses the one of two identical prompts that was answered", async ({ desktop, phone }) => {
  const options = { toolkit: "gtk3", title: "Twins", buttons: ["No", "Yes"] } as const;
  const older = await desktop.open({ ...options, more: ["--at", "100,100"] });
  await phone.prompt("Twins");
  const newer = await desktop.open({ ...options, more: ["--at", "700,100"] });
  await expect(phone.prompts("Twins")).toHaveCount(2);
  // What comes later stands below.
  await (await phone.nthPrompt("Twins", 1)).hold("Yes");
  expect(await newer.exitStatus).toBe(pressed(1));
  await expect(phone.prompts("Twins")).toHaveCount(1);
  expect(older.isRunning).toBe(true);
  await (await phone.prompt("Twins")).tap("No");
  expect(await older.exitStatus).toBe(pressed(0));
  await phone.expectOutcome("Twins", "“Yes” pressed from here");
  await phone.expectOutcome("Twins", "“No” pressed from here");
});

// One of them is shown. When that one was answered, the other one is a prompt of its own.
test("answers two identical prompts in one place one after another", async ({ desktop, phone }) => {
  const options = {
    toolkit: "gtk3",
    title: "Pile",
    buttons: ["No", "Yes"],
    more: ["--at", "100,100"],
  } as const;
  const dialogs = [await desktop.open(options), await desktop.open(options)];
  const first = await phone.prompt("Pile");
  await first.hold("Yes");
  expect(await Promise.race(dialogs.map((dialog) => dialog.exitStatus))).toBe(pressed(1));
  expect(dialogs.filter((dialog) => dialog.isRunning).length).toBe(1);
  await phone.expectOutcome("Pile", "“Yes” pressed from here");
  await first.leaves();
  await (await phone.prompt("Pile")).tap("No");
  const statuses = await Promise.all(dialogs.map((dialog) => dialog.exitStatus));
  expect(statuses.sort()).toEqual([pressed(0), pressed(1)]);
  await phone.expectOutcome("Pile", "“No” pressed from here");
});

test("shows nothing while the computer pauses, and everything when it goes on", async ({
  agent,
  desktop,
  phone,
}) => {
  const dialog = await desktop.open({ toolkit: "qt", title: "Waiting", buttons: ["No", "Yes"] });
  await phone.prompt("Waiting");
  await agent.pause();
  await phone.expectPaused();
  expect(dialog.isRunning).toBe(true);
  await agent.resume();
  await (await phone.prompt("Waiting")).hold("Yes");
  expect(await dialog.exitStatus).toBe(pressed(1));
  await phone.expectOutcome("Waiting", "“Yes” pressed from here");
});

test("mutes a kind of prompt until it is wanted again", async ({ desktop, phone }) => {
  const noise = {
    toolkit: "gtk3",
    title: "Noise",
    buttons: ["No", "Yes"],
    more: ["--at", "100,100"],
  } as const;
  const first = await desktop.open(noise);
  await (await phone.prompt("Noise")).mute();
  await phone.expectNothingWaits();
  await phone.expectOutcome("Noise", "Not shown any more");
  await desktop.pressInDialog(first, "No");
  expect(await first.exitStatus).toBe(pressed(0));

  const second = await desktop.open(noise);
  const other = await desktop.open({ toolkit: "qt", title: "Not noise", buttons: ["No", "Yes"] });
  // Whoever saw this one saw the muted one as well.
  await (await phone.prompt("Not noise")).tap("No");
  expect(await other.exitStatus).toBe(pressed(0));
  await expect(phone.prompts("Noise")).toHaveCount(0);
  expect(second.isRunning).toBe(true);
  await phone.unmute("Noise", "Desk");
  await (await phone.prompt("Noise")).hold("Yes");
  expect(await second.exitStatus).toBe(pressed(1));
  await phone.expectOutcome("Noise", "“Yes” pressed from here");
});
