import { readFile } from "node:fs/promises";

import { Browser } from "./Browser";
import { pressed } from "./Desktop";
import { expect, test } from "./road";

test("pairs by a picture of the computer's screen", async ({ agent, phone }) => {
  await agent.waitForPhoneNamed("Ana’s phone");
  await phone.expectConnected("Desk");
  await phone.expectNothingWaits();
});

test("is unpaired by the computer, and paired again", async ({ agent, desktop, phone, road }) => {
  await agent.unpair();
  await phone.expectNotice("Desk unpaired its phones");
  await phone.forget("Desk");
  await road.pair();
  const dialog = await desktop.open({ toolkit: "gtk3", title: "Afresh", buttons: ["No", "Yes"] });
  await (await phone.prompt("Afresh")).hold("Yes");
  expect(await dialog.exitStatus).toBe(pressed(1));
  await phone.expectOutcome("Afresh", "“Yes” pressed from here");
});

test("shows what another phone has decided", async ({ desktop, phone, relay }) => {
  const other = new Browser(relay, "another");
  await other.start();
  try {
    await other.phone.open();
    await other.phone.pairByPicture(await desktop.screenshot(), "Desk", "Ben’s phone");
    const dialog = await desktop.open({ toolkit: "qt", title: "Either of us", buttons: ["No", "Yes"] });
    await phone.prompt("Either of us");
    await (await other.phone.prompt("Either of us")).hold("Yes");
    expect(await dialog.exitStatus).toBe(pressed(1));
    await other.phone.expectOutcome("Either of us", "“Yes” pressed from here");
    await phone.expectOutcome("Either of us", "“Yes” pressed: chosen on Ben’s phone");
  } finally {
    await other.end();
  }
});

// The last one of this file: what all runs so far have said.
test("spreads no secret", async ({ agent, relay, road }) => {
  const secrets = (await agent.tool("pair", "--text", "--force")).match(/[0-9a-f]{64}/g) ?? [];
  expect(secrets.length, "the token and the end-to-end secret").toBe(2);
  const database = (await readFile(relay.database)).toString("latin1");
  const said = { agent: agent.output, relay: relay.output, page: road.browser.output, database };
  for (const [who, text] of Object.entries(said)) {
    // Not by expect(), which would print them.
    expect(
      secrets.some((secret) => text.includes(secret)),
      who,
    ).toBe(false);
  }
});
