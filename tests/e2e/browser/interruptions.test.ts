import { pressed } from "./Desktop";
import { expect, test } from "./endToEnd";

test("goes on where it was when the relay was killed and comes back", async ({ desktop, phone, relay }) => {
  const before = await desktop.open({ toolkit: "gtk3", title: "Before", buttons: ["No", "Yes"] });
  const prompt = await phone.prompt("Before");
  await relay.kill();
  await phone.expectNotice("The relay cannot be reached");
  await expect(prompt.button("No")).toBeDisabled();
  const meanwhile = await desktop.open({ toolkit: "qt", title: "Meanwhile", buttons: ["No", "Yes"] });
  await relay.start();
  await (await phone.prompt("Meanwhile")).hold("Yes");
  expect(await meanwhile.exitStatus).toBe(pressed(1));
  await phone.expectOutcome("Meanwhile", "“Yes” pressed from here");
  await (await phone.prompt("Before")).tap("No");
  expect(await before.exitStatus).toBe(pressed(0));
  await phone.expectOutcome("Before", "“No” pressed from here");
});

test("presses once what was decided when the relay was killed", async ({ agent, desktop, phone, relay }) => {
  const more = ["--successor", "Again", "--successor-button", "No", "--successor-button", "Yes"];
  const dialog = await desktop.open({ toolkit: "qt", title: "Once", buttons: ["No", "Yes"], more });
  const prompt = await phone.prompt("Once");
  agent.process.stop();
  await prompt.hold("Yes");
  await relay.kill();
  agent.process.resume();
  await relay.start();
  await phone.expectOutcome("Once", "“Yes” pressed from here");
  expect(dialog.isRunning).toBe(true);
  await (await phone.prompt("Again")).tap("No");
  expect(await dialog.exitStatus).toBe(pressed(0));
  await phone.expectOutcome("Again", "“No” pressed from here");
});

test("is paired still after the page was loaded again", async ({ desktop, phone }) => {
  const dialog = await desktop.open({ toolkit: "gtk4", title: "Reloaded", buttons: ["No", "Yes"] });
  await phone.prompt("Reloaded");
  await phone.reload();
  await (await phone.prompt("Reloaded")).hold("Yes");
  expect(await dialog.exitStatus).toBe(pressed(1));
  await phone.expectOutcome("Reloaded", "“Yes” pressed from here");
});

test("is paired still after the browser was closed", async ({ desktop, endToEnd }) => {
  await endToEnd.browser.end();
  const dialog = await desktop.open({ toolkit: "qt", title: "Reopened", buttons: ["No", "Yes"] });
  await endToEnd.browser.start();
  await endToEnd.phone.open();
  await (await endToEnd.phone.prompt("Reopened")).hold("Yes");
  expect(await dialog.exitStatus).toBe(pressed(1));
  await endToEnd.phone.expectOutcome("Reopened", "“Yes” pressed from here");
});

test("learns after a reload what became of a decision", async ({ agent, desktop, phone }) => {
  const dialog = await desktop.open({ toolkit: "gtk3", title: "In between", buttons: ["No", "Yes"] });
  const prompt = await phone.prompt("In between");
  agent.process.stop();
  await prompt.hold("Yes");
  await phone.reload();
  agent.process.resume();
  expect(await dialog.exitStatus).toBe(pressed(1));
  await phone.expectOutcome("In between", "“Yes” pressed from here");
});

test("says so while the computer's agent does not run", async ({ agent, desktop, phone }) => {
  expect(await agent.quit()).toBe(0);
  await phone.expectNotice("Desk is not connected");
  const dialog = await desktop.open({ toolkit: "gtk3", title: "Unwatched", buttons: ["No", "Yes"] });
  await agent.start("Pairing code covered");
  await (await phone.prompt("Unwatched")).tap("No");
  expect(await dialog.exitStatus).toBe(pressed(0));
  await phone.expectOutcome("Unwatched", "“No” pressed from here");
});
