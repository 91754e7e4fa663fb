import { pressed, toolkits } from "./Desktop";
import { expect, test } from "./endToEnd";

const straight = "Don't Allow";
const curly = "Don’t Allow";

for (const toolkit of toolkits) {
  test(`allows a dialog of ${toolkit} when a finger stays on the button`, async ({ desktop, phone }) => {
    const title = `Camera for ${toolkit}`;
    const dialog = await desktop.open({
      toolkit,
      title,
      text: "It wants to see.",
      buttons: [straight, "Allow"],
    });
    const prompt = await phone.prompt(title);
    await expect(prompt.element).toContainText("It wants to see.");
    await prompt.hold("Allow");
    expect(await dialog.exitStatus).toBe(pressed(1));
    await phone.expectOutcome(title, "“Allow” pressed from here");
  });

  test(`refuses a dialog of ${toolkit} at a tap`, async ({ desktop, phone }) => {
    const title = `Microphone for ${toolkit}`;
    const dialog = await desktop.open({ toolkit, title, buttons: [curly, "Allow"] });
    await (await phone.prompt(title)).tap(curly);
    expect(await dialog.exitStatus).toBe(pressed(0));
    await phone.expectOutcome(title, `“${curly}” pressed from here`);
  });

  test(`tells the apostrophes of three buttons of ${toolkit} apart`, async ({ desktop, phone }) => {
    const buttons = [curly, straight, "Allow"];
    for (const [index, label] of [curly, straight].entries()) {
      const title = `Contacts ${String(index)} for ${toolkit}`;
      const dialog = await desktop.open({ toolkit, title, buttons });
      const prompt = await phone.prompt(title);
      await expect(prompt.choices).toHaveCount(3);
      await prompt.tap(label);
      expect(await dialog.exitStatus).toBe(pressed(index));
      await phone.expectOutcome(title, `“${label}” pressed from here`);
    }
    const title = `Calendar for ${toolkit}`;
    const dialog = await desktop.open({ toolkit, title, buttons });
    await (await phone.prompt(title)).hold("Allow");
    expect(await dialog.exitStatus).toBe(pressed(2));
    await phone.expectOutcome(title, "“Allow” pressed from here");
  });
}

test("grants nothing to a tap", async ({ desktop, phone }) => {
  const dialog = await desktop.open({ title: "A slip of the finger", buttons: ["Don't Allow", "Allow"] });
  const prompt = await phone.prompt("A slip of the finger");
  await prompt.button("Allow").tap();
  await expect(prompt.element.getByRole("status")).toHaveText("Keep holding the button to confirm: Allow");
  // The same prompt still takes another answer: had the tap sent one, it would not.
  await prompt.tap("Don't Allow");
  expect(await dialog.exitStatus).toBe(pressed(0));
  await phone.expectOutcome("A slip of the finger", "“Don't Allow” pressed from here");
});

test("offers nothing but the refusal of a prompt for a password", async ({ desktop, phone }) => {
  for (const toolkit of toolkits) {
    const title = `Unlock for ${toolkit}`;
    const more = ["--password", "Password"];
    const dialog = await desktop.open({ toolkit, title, buttons: ["Cancel", "OK"], more });
    const prompt = await phone.prompt(title);
    await expect(prompt.element).toContainText("Only at Desk");
    await expect(prompt.choices).toHaveCount(1);
    await expect(prompt.button("OK")).toHaveCount(0);
    expect(dialog.isRunning).toBe(true);
    await prompt.tap("Cancel");
    expect(await dialog.exitStatus).toBe(pressed(0));
    await phone.expectOutcome(title, "“Cancel” pressed from here");
  }
});

test("answers what a program in a terminal asks", async ({ agent, phone }) => {
  const question = "Delete the old backups?";
  const buttons = ["--button", "Delete", "--button", "Keep", "--deny", "Keep"];
  for (const [label, exitStatus] of [
    ["Delete", 0],
    ["Keep", 1],
  ] as const) {
    const asking = agent.startTool("ask", "--line", "214 GB on tank", ...buttons, "--", question);
    const prompt = await phone.prompt(question);
    await expect(prompt.element).toContainText("214 GB on tank");
    await expect(prompt.element).toContainText("Asked by");
    if (label === "Delete") await prompt.hold(label);
    else await prompt.tap(label);
    expect(await asking.exitStatus).toBe(exitStatus);
    await asking.isRead;
    expect(asking.output).toBe(`${label}\n`);
    await phone.expectOutcome(question, `“${label}” pressed from here`);
    await prompt.leaves(); // The next one says the same.
  }
});

test("loses a question with the program that asked it", async ({ agent, phone }) => {
  const asking = agent.startTool("ask", "--button", "Yes", "--button", "No", "--", "Still there?");
  const prompt = await phone.prompt("Still there?");
  expect(await asking.end()).toBe(130);
  await prompt.leaves();
  await phone.expectNothingWaits();
});
